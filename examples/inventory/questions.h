#pragma once

#include "dtk/dtk.h"
#include "inventory/checks.h"
#include "inventory/machine.h"

/// Questions to the database, each with its answer printed and checked against the input.
namespace inventory {

void ask_largest_packages(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);
void ask_sections(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);
void ask_kinds_of_file(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);
void ask_last_changes(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);
void ask_what_is_missing(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);

/// Merges the packages into those that earlier runs have left, each new one with a number from a sequence.
void ask_what_is_new(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);

/// Reads every copyright file back from its BLOB and counts the licences it names.
void ask_licences(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);

/// Creates a stored procedure with output parameters and calls it for the package with the most files.
void call_procedure(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);

/// Deletes all files and takes it back.
void roll_back(DTK_ConnectionBase& connection, const Machine& machine, Checks& checks);

} // namespace inventory
