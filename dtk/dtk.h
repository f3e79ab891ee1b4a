/// @file
/// DTK: access to a database through pooled connections. The one header that applications include.
#pragma once

#include "dtk/calendar/DTK_Date.h"
#include "dtk/calendar/DTK_DateTime.h"
#include "dtk/calendar/DTK_DbDate.h"
#include "dtk/foundation/DTK_DATATYPES.h"
#include "dtk/foundation/DTK_Exception.h"
#include "dtk/foundation/DTK_Guard.h"
#include "dtk/foundation/DTK_Mutex.h"
#include "dtk/foundation/DTK_Semaphore.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/ORCL_Exception.h"
#include "dtk/foundation/columnBuffer.h"
#include "dtk/interface/DTK_BlobBase.h"
#include "dtk/interface/DTK_ConnectionBase.h"
#include "dtk/interface/DTK_ConnectionPoolBase.h"
#include "dtk/interface/DTK_ResultSetBase.h"
#include "dtk/interface/DTK_StatementBase.h"
#include "dtk/interface/DTK_stmtMetadataBase.h"
#include "dtk/interface/gb_getConnectionPool.h"
#include "dtk/oracle/DTK_Blob.h"
