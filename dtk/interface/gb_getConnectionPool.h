/// @file
#pragma once

#include "dtk/foundation/export.h"

class DTK_ConnectionPoolBase;

/// Makes an empty connection pool; call its mb_create next. The first pool of the process creates the OCI environment.
///
/// @return a pool that the caller owns and deletes, on the thread that makes and deletes all pools of the process
/// @throws DTK_Exception 500 "Error initializing error handles" the environment's error handle could not be allocated
extern "C" DTK_EXPORT DTK_ConnectionPoolBase* gb_getConnectionPool();
