#include "dtk/interface/gb_getConnectionPool.h"

#include "dtk/oracle/_DTK_ConnectionPool.h"

DTK_ConnectionPoolBase* gb_getConnectionPool() {
    return new _DTK_ConnectionPool;
}
