#pragma once

#include "oci/sql/resolver/plan.h"

#include <string>

// Writes plans in SQLite's SQL, and decides nothing.
namespace oci::sql {

void print(std::string& sql, const Node& node);
void print(std::string& sql, const Select& query);
void print(std::string& sql, const Change& change);

} // namespace oci::sql
