/// The part of the Oracle Call Interface that DTK uses, with the published names, values and signatures.
/// The embedded client implements it; the vendor's header takes its place when DTK is built against the vendor's
/// client.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef unsigned char ub1;
typedef signed char sb1;
typedef unsigned short ub2;
typedef signed short sb2;
typedef unsigned int ub4;
typedef signed int sb4;
typedef signed int sword;
typedef int boolean;
typedef unsigned char OraText;
typedef ub2 OCIDuration;

typedef struct OCIEnv OCIEnv;
typedef struct OCIError OCIError;
typedef struct OCISvcCtx OCISvcCtx;
typedef struct OCIStmt OCIStmt;
typedef struct OCIBind OCIBind;
typedef struct OCIDefine OCIDefine;
typedef struct OCIParam OCIParam;
typedef struct OCISnapshot OCISnapshot;
typedef struct OCILobLocator OCILobLocator;

enum { OCI_SUCCESS = 0, OCI_SUCCESS_WITH_INFO = 1, OCI_NO_DATA = 100, OCI_ERROR = -1, OCI_INVALID_HANDLE = -2 };

enum { OCI_DEFAULT = 0, OCI_THREADED = 1, OCI_OBJECT = 2, OCI_COMMIT_ON_SUCCESS = 0x20 };

enum {
    OCI_HTYPE_ENV = 1,
    OCI_HTYPE_ERROR = 2,
    OCI_HTYPE_SVCCTX = 3,
    OCI_HTYPE_STMT = 4,
    OCI_HTYPE_BIND = 5,
    OCI_HTYPE_DEFINE = 6
};
enum { OCI_DTYPE_LOB = 50, OCI_DTYPE_PARAM = 53 };

enum {
    OCI_ATTR_DATA_SIZE = 1,
    OCI_ATTR_DATA_TYPE = 2,
    OCI_ATTR_PRECISION = 5,
    OCI_ATTR_ENV = 5,
    OCI_ATTR_SCALE = 6,
    OCI_ATTR_IS_NULL = 7,
    OCI_ATTR_ROW_COUNT = 9,
    OCI_ATTR_PARAM_COUNT = 18,
    OCI_ATTR_STMT_TYPE = 24,
    OCI_ATTR_BIND_COUNT = 190,
    OCI_ATTR_ROWS_FETCHED = 197
};

enum {
    OCI_STMT_SELECT = 1,
    OCI_STMT_UPDATE = 2,
    OCI_STMT_DELETE = 3,
    OCI_STMT_INSERT = 4,
    OCI_STMT_CREATE = 5,
    OCI_STMT_DROP = 6,
    OCI_STMT_ALTER = 7,
    OCI_STMT_BEGIN = 8,
    OCI_STMT_DECLARE = 9,
    OCI_STMT_CALL = 10,
    OCI_STMT_MERGE = 16
};

enum {
    SQLT_CHR = 1,
    SQLT_NUM = 2,
    SQLT_INT = 3,
    SQLT_FLT = 4,
    SQLT_STR = 5,
    SQLT_LNG = 8,
    SQLT_DAT = 12,
    SQLT_BIN = 23,
    SQLT_LBI = 24,
    SQLT_UIN = 68,
    SQLT_AFC = 96,
    SQLT_IBFLOAT = 100,
    SQLT_IBDOUBLE = 101,
    SQLT_RDD = 104,
    SQLT_CLOB = 112,
    SQLT_BLOB = 113,
    SQLT_TIMESTAMP = 187,
    SQLT_TIMESTAMP_TZ = 188,
    SQLT_INTERVAL_YM = 189,
    SQLT_INTERVAL_DS = 190,
    SQLT_TIMESTAMP_LTZ = 232
};

enum { OCI_NTV_SYNTAX = 1, OCI_FETCH_NEXT = 2 };
enum { OCI_ONE_PIECE = 0, OCI_TEMP_BLOB = 1, OCI_TEMP_CLOB = 2, OCI_LOB_BUFFER_FREE = 1 };
enum { OCI_DURATION_SESSION = 10, SQLCS_IMPLICIT = 1 };

sword OCIEnvCreate(OCIEnv** envhpp, ub4 mode, void* ctxp, void* (*malocfp)(void*, size_t),
                   void* (*ralocfp)(void*, void*, size_t), void (*mfreefp)(void*, void*), size_t xtramem_sz,
                   void** usrmempp);
sword OCIHandleAlloc(const void* parenth, void** hndlpp, ub4 type, size_t xtramem_sz, void** usrmempp);
sword OCIHandleFree(void* hndlp, ub4 type);
sword OCIDescriptorAlloc(const void* parenth, void** descpp, ub4 type, size_t xtramem_sz, void** usrmempp);
sword OCIDescriptorFree(void* descp, ub4 type);
sword OCIErrorGet(void* hndlp, ub4 recordno, OraText* sqlstate, sb4* errcodep, OraText* bufp, ub4 bufsiz, ub4 type);

sword OCILogon2(OCIEnv* envhp, OCIError* errhp, OCISvcCtx** svchp, const OraText* username, ub4 uname_len,
                const OraText* password, ub4 passwd_len, const OraText* dbname, ub4 dbname_len, ub4 mode);
sword OCILogoff(OCISvcCtx* svchp, OCIError* errhp);
sword OCIPing(OCISvcCtx* svchp, OCIError* errhp, ub4 mode);
sword OCIPasswordChange(OCISvcCtx* svchp, OCIError* errhp, const OraText* user_name, ub4 usernm_len,
                        const OraText* opasswd, ub4 opasswd_len, const OraText* npasswd, sb4 npasswd_len, ub4 mode);
sword OCITransCommit(OCISvcCtx* svchp, OCIError* errhp, ub4 flags);
sword OCITransRollback(OCISvcCtx* svchp, OCIError* errhp, ub4 flags);

sword OCIStmtPrepare2(OCISvcCtx* svchp, OCIStmt** stmthp, OCIError* errhp, const OraText* stmttext, ub4 stmt_len,
                      const OraText* key, ub4 keylen, ub4 language, ub4 mode);
sword OCIStmtRelease(OCIStmt* stmthp, OCIError* errhp, const OraText* key, ub4 keylen, ub4 mode);
sword OCIStmtExecute(OCISvcCtx* svchp, OCIStmt* stmthp, OCIError* errhp, ub4 iters, ub4 rowoff,
                     const OCISnapshot* snap_in, OCISnapshot* snap_out, ub4 mode);
sword OCIStmtFetch(OCIStmt* stmthp, OCIError* errhp, ub4 nrows, ub2 orientation, ub4 mode);
sword OCIBindByPos(OCIStmt* stmthp, OCIBind** bindpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz,
                   ub2 dty, void* indp, ub2* alenp, ub2* rcodep, ub4 maxarr_len, ub4* curelep, ub4 mode);
sword OCIDefineByPos(OCIStmt* stmthp, OCIDefine** defnpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz,
                     ub2 dty, void* indp, ub2* rlenp, ub2* rcodep, ub4 mode);
sword OCIParamGet(const void* hndlp, ub4 htype, OCIError* errhp, void** parmdpp, ub4 pos);
sword OCIAttrGet(const void* trgthndlp, ub4 trghndltyp, void* attributep, ub4* sizep, ub4 attrtype, OCIError* errhp);

sword OCILobCreateTemporary(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub2 csid, ub1 csfrm, ub1 lobtype,
                            boolean cache, OCIDuration duration);
sword OCILobFreeTemporary(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp);
sword OCILobRead(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 bufl,
                 void* ctxp, sb4 (*cbfp)(void*, const void*, ub4, ub1), ub2 csid, ub1 csfrm);
sword OCILobWrite(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 buflen,
                  ub1 piece, void* ctxp, sb4 (*cbfp)(void*, void*, ub4*, ub1*), ub2 csid, ub1 csfrm);
sword OCILobGetLength(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* lenp);
sword OCILobGetChunkSize(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* chunksizep);
sword OCILobIsEqual(OCIEnv* envhp, const OCILobLocator* x, const OCILobLocator* y, boolean* is_equal);
sword OCILobLocatorIsInit(OCIEnv* envhp, OCIError* errhp, const OCILobLocator* locp, boolean* is_initialized);
sword OCILobFlushBuffer(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4 flag);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
