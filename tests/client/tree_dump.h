#pragma once

#include "oci/sql/tree.h"

#include <string>

/// Writes a tree as nested lists in parentheses.
class TreeDump {
  public:
    std::string statement(const oci::sql::Statement& statement) const;
    std::string query(const oci::sql::Query& query) const;
    std::string expression(const oci::sql::Expression* expression) const;

  private:
    std::string literal(const oci::sql::Expression& e) const;
    std::string operation(const oci::sql::Expression& e) const;
    std::string predicate(const oci::sql::Expression& e) const;
    std::string conditional(const oci::sql::Conditional& conditional) const;
    std::string call(const oci::sql::Call& call) const;
    std::string window(const oci::sql::Window& window) const;
    std::string block(const oci::sql::Block& block) const;
    std::string source(const oci::sql::Source& source) const;
    std::string group(const oci::sql::GroupItem& item) const;
    std::string insert(const oci::sql::Insert& insert) const;
    std::string merge(const oci::sql::Merge& merge) const;
    std::string assignments(std::span<const oci::sql::Assignment> assignments) const;
    std::string list(oci::sql::Expressions expressions) const;
    std::string order(std::span<oci::sql::OrderItem> items) const;
    std::string clause(const char* name, const oci::sql::Expression* expression) const;
};
