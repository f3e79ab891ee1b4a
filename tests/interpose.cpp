#include "tests/interpose.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <oci.h>

namespace interpose {
namespace {

struct Record {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<const Hook>, std::less<>> hooks;
    std::vector<Call> calls;
};

// Never destroyed: the client may be called while the program's static objects go.
Record& record() {
    static auto& instance = *new Record;
    return instance;
}

std::shared_ptr<const Hook> note(const Call& call) {
    Record& noted = record();
    const std::lock_guard lock(noted.mutex);
    const bool isSemaphore = call.function.rfind("sem_", 0) == 0;
    if (!isSemaphore) noted.calls.push_back(call);
    auto hook = noted.hooks.find(call.function);
    if (hook == noted.hooks.end() && !isSemaphore) hook = noted.hooks.find(std::string_view{});
    return hook == noted.hooks.end() ? nullptr : hook->second;
}

void* next(const char* function) {
    void* found = dlsym(RTLD_NEXT, function);
    if (found) return found;
    std::fprintf(stderr, "%s is missing behind the test program\n", function);
    std::abort();
}

template <typename T> std::intptr_t word(T argument) {
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<std::intptr_t>(argument);
    else
        return static_cast<std::intptr_t>(argument);
}

template <auto* function, typename... Arguments> auto standIn(const char* name, Arguments... arguments) {
    static const auto client = reinterpret_cast<decltype(function)>(next(name));
    Call call{name, {word(arguments)...}, {}};
    if (const auto hook = note(call)) {
        call.pass = [&] { return static_cast<int>(client(arguments...)); };
        if (const std::optional<int> answer = (*hook)(call))
            return static_cast<decltype(client(arguments...))>(*answer);
    }
    return client(arguments...);
}

} // namespace

void on(std::string_view function, Hook hook) {
    const std::lock_guard lock(record().mutex);
    record().hooks.insert_or_assign(std::string(function), std::make_shared<const Hook>(std::move(hook)));
}

std::vector<Call> calls(std::string_view function) {
    const std::lock_guard lock(record().mutex);
    std::vector<Call> found;
    for (const Call& call : record().calls)
        if (function.empty() || call.function == function) found.push_back(call);
    return found;
}

void reset() {
    const std::lock_guard lock(record().mutex);
    record().hooks.clear();
    record().calls.clear();
}

} // namespace interpose

using interpose::standIn;

extern "C" {

sword OCIEnvCreate(OCIEnv** a, ub4 b, void* c, void* (*d)(void*, size_t), void* (*e)(void*, void*, size_t),
                   void (*f)(void*, void*), size_t g, void** h) {
    return standIn<OCIEnvCreate>(__func__, a, b, c, d, e, f, g, h);
}
sword OCIHandleAlloc(const void* a, void** b, ub4 c, size_t d, void** e) {
    return standIn<OCIHandleAlloc>(__func__, a, b, c, d, e);
}
sword OCIHandleFree(void* a, ub4 b) {
    return standIn<OCIHandleFree>(__func__, a, b);
}
sword OCIDescriptorAlloc(const void* a, void** b, ub4 c, size_t d, void** e) {
    return standIn<OCIDescriptorAlloc>(__func__, a, b, c, d, e);
}
sword OCIDescriptorFree(void* a, ub4 b) {
    return standIn<OCIDescriptorFree>(__func__, a, b);
}
sword OCIErrorGet(void* a, ub4 b, OraText* c, sb4* d, OraText* e, ub4 f, ub4 g) {
    return standIn<OCIErrorGet>(__func__, a, b, c, d, e, f, g);
}
sword OCILogon2(OCIEnv* a, OCIError* b, OCISvcCtx** c, const OraText* d, ub4 e, const OraText* f, ub4 g,
                const OraText* h, ub4 i, ub4 j) {
    return standIn<OCILogon2>(__func__, a, b, c, d, e, f, g, h, i, j);
}
sword OCILogoff(OCISvcCtx* a, OCIError* b) {
    return standIn<OCILogoff>(__func__, a, b);
}
sword OCIPing(OCISvcCtx* a, OCIError* b, ub4 c) {
    return standIn<OCIPing>(__func__, a, b, c);
}
sword OCIPasswordChange(OCISvcCtx* a, OCIError* b, const OraText* c, ub4 d, const OraText* e, ub4 f, const OraText* g,
                        sb4 h, ub4 i) {
    return standIn<OCIPasswordChange>(__func__, a, b, c, d, e, f, g, h, i);
}
sword OCITransCommit(OCISvcCtx* a, OCIError* b, ub4 c) {
    return standIn<OCITransCommit>(__func__, a, b, c);
}
sword OCITransRollback(OCISvcCtx* a, OCIError* b, ub4 c) {
    return standIn<OCITransRollback>(__func__, a, b, c);
}
sword OCIStmtPrepare2(OCISvcCtx* a, OCIStmt** b, OCIError* c, const OraText* d, ub4 e, const OraText* f, ub4 g, ub4 h,
                      ub4 i) {
    return standIn<OCIStmtPrepare2>(__func__, a, b, c, d, e, f, g, h, i);
}
sword OCIStmtRelease(OCIStmt* a, OCIError* b, const OraText* c, ub4 d, ub4 e) {
    return standIn<OCIStmtRelease>(__func__, a, b, c, d, e);
}
sword OCIStmtExecute(OCISvcCtx* a, OCIStmt* b, OCIError* c, ub4 d, ub4 e, const OCISnapshot* f, OCISnapshot* g, ub4 h) {
    return standIn<OCIStmtExecute>(__func__, a, b, c, d, e, f, g, h);
}
sword OCIStmtFetch(OCIStmt* a, OCIError* b, ub4 c, ub2 d, ub4 e) {
    return standIn<OCIStmtFetch>(__func__, a, b, c, d, e);
}
sword OCIBindByPos(OCIStmt* a, OCIBind** b, OCIError* c, ub4 d, void* e, sb4 f, ub2 g, void* h, ub2* i, ub2* j, ub4 k,
                   ub4* l, ub4 m) {
    return standIn<OCIBindByPos>(__func__, a, b, c, d, e, f, g, h, i, j, k, l, m);
}
sword OCIDefineByPos(OCIStmt* a, OCIDefine** b, OCIError* c, ub4 d, void* e, sb4 f, ub2 g, void* h, ub2* i, ub2* j,
                     ub4 k) {
    return standIn<OCIDefineByPos>(__func__, a, b, c, d, e, f, g, h, i, j, k);
}
sword OCIParamGet(const void* a, ub4 b, OCIError* c, void** d, ub4 e) {
    return standIn<OCIParamGet>(__func__, a, b, c, d, e);
}
sword OCIAttrGet(const void* a, ub4 b, void* c, ub4* d, ub4 e, OCIError* f) {
    return standIn<OCIAttrGet>(__func__, a, b, c, d, e, f);
}
sword OCILobCreateTemporary(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub2 d, ub1 e, ub1 f, boolean g,
                            OCIDuration h) {
    return standIn<OCILobCreateTemporary>(__func__, a, b, c, d, e, f, g, h);
}
sword OCILobFreeTemporary(OCISvcCtx* a, OCIError* b, OCILobLocator* c) {
    return standIn<OCILobFreeTemporary>(__func__, a, b, c);
}
sword OCILobRead(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub4* d, ub4 e, void* f, ub4 g, void* h,
                 sb4 (*i)(void*, const void*, ub4, ub1), ub2 j, ub1 k) {
    return standIn<OCILobRead>(__func__, a, b, c, d, e, f, g, h, i, j, k);
}
sword OCILobWrite(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub4* d, ub4 e, void* f, ub4 g, ub1 h, void* i,
                  sb4 (*j)(void*, void*, ub4*, ub1*), ub2 k, ub1 l) {
    return standIn<OCILobWrite>(__func__, a, b, c, d, e, f, g, h, i, j, k, l);
}
sword OCILobGetLength(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub4* d) {
    return standIn<OCILobGetLength>(__func__, a, b, c, d);
}
sword OCILobGetChunkSize(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub4* d) {
    return standIn<OCILobGetChunkSize>(__func__, a, b, c, d);
}
sword OCILobIsEqual(OCIEnv* a, const OCILobLocator* b, const OCILobLocator* c, boolean* d) {
    return standIn<OCILobIsEqual>(__func__, a, b, c, d);
}
sword OCILobLocatorIsInit(OCIEnv* a, OCIError* b, const OCILobLocator* c, boolean* d) {
    return standIn<OCILobLocatorIsInit>(__func__, a, b, c, d);
}
sword OCILobFlushBuffer(OCISvcCtx* a, OCIError* b, OCILobLocator* c, ub4 d) {
    return standIn<OCILobFlushBuffer>(__func__, a, b, c, d);
}
unsigned sleep(unsigned a) {
    return standIn<sleep>(__func__, a);
}
int sem_wait(sem_t* a) {
    return standIn<sem_wait>(__func__, a);
}
int sem_trywait(sem_t* a) {
    return standIn<sem_trywait>(__func__, a);
}
int pthread_create(pthread_t* a, const pthread_attr_t* b, void* (*c)(void*), void* d) {
    return standIn<pthread_create>(__func__, a, b, c, d);
}

} // extern "C"
