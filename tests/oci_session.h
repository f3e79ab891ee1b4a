#pragma once

#include <oci.h>

#include <cstdio>
#include <string>
#include <vector>

inline const OraText* oraText(const std::string& text) {
    return reinterpret_cast<const OraText*>(text.data());
}
inline ub4 oraLength(const std::string& text) {
    return static_cast<ub4>(text.size());
}

/// A session through raw OCI calls, in an environment of its own. What fails is told by its ORA- number, everything
/// else by its status. Freeing the environment frees what was allocated under it.
class OciSession {
  public:
    explicit OciSession(const std::string& database, const std::string& user = "scott",
                        const std::string& password = "tiger") {
        OCIEnvCreate(&env, OCI_THREADED | OCI_OBJECT, nullptr, nullptr, nullptr, nullptr, 0, nullptr);
        OCIHandleAlloc(env, reinterpret_cast<void**>(&error), OCI_HTYPE_ERROR, 0, nullptr);
        logonCode = code(OCILogon2(env, error, &service, oraText(user), oraLength(user), oraText(password),
                                   oraLength(password), oraText(database), oraLength(database), OCI_DEFAULT));
    }
    ~OciSession() { OCIHandleFree(env, OCI_HTYPE_ENV); }
    OciSession(const OciSession&) = delete;
    OciSession& operator=(const OciSession&) = delete;

    int code(sword status) const {
        if (status != OCI_ERROR) return status;
        sb4 number = 0;
        OCIErrorGet(error, 1, nullptr, &number, nullptr, 0, OCI_HTYPE_ERROR);
        return number;
    }

    int ping() const { return code(OCIPing(service, error, OCI_DEFAULT)); }
    int commit() const { return code(OCITransCommit(service, error, OCI_DEFAULT)); }
    int rollback() const { return code(OCITransRollback(service, error, OCI_DEFAULT)); }
    int logoff() const { return code(OCILogoff(service, error)); }

    OCIStmt* prepare(const std::string& text) const {
        OCIStmt* statement = nullptr;
        OCIStmtPrepare2(service, &statement, error, oraText(text), oraLength(text), nullptr, 0, OCI_NTV_SYNTAX,
                        OCI_DEFAULT);
        return statement;
    }
    int release(OCIStmt* statement) const { return code(OCIStmtRelease(statement, error, nullptr, 0, OCI_DEFAULT)); }
    int bind(OCIStmt* statement, ub4 position, void* value, std::size_t size, ub2 type, void* indicator = nullptr,
             ub2* length = nullptr) const {
        OCIBind* handle = nullptr;
        return code(OCIBindByPos(statement, &handle, error, position, value, static_cast<sb4>(size), type, indicator,
                                 length, nullptr, 0, nullptr, OCI_DEFAULT));
    }
    int define(OCIStmt* statement, ub4 position, void* value, std::size_t size, ub2 type, void* indicator = nullptr,
               ub2* length = nullptr) const {
        OCIDefine* handle = nullptr;
        return code(OCIDefineByPos(statement, &handle, error, position, value, static_cast<sb4>(size), type, indicator,
                                   length, nullptr, OCI_DEFAULT));
    }
    int execute(OCIStmt* statement, ub4 iterations = 1, ub4 offset = 0) const {
        return code(OCIStmtExecute(service, statement, error, iterations, offset, nullptr, nullptr, OCI_DEFAULT));
    }
    int fetch(OCIStmt* statement, ub4 rows = 1) const {
        return code(OCIStmtFetch(statement, error, rows, OCI_FETCH_NEXT, OCI_DEFAULT));
    }
    /// A query that has been executed.
    OCIStmt* open(const std::string& text) const {
        OCIStmt* query = prepare(text);
        execute(query, 0);
        return query;
    }

    template <class T> T attribute(const void* handle, ub4 kind, ub4 type) const {
        T value{};
        OCIAttrGet(handle, kind, &value, nullptr, type, error);
        return value;
    }
    ub4 count(OCIStmt* statement, ub4 type) const { return attribute<ub4>(statement, OCI_HTYPE_STMT, type); }

    /// Runs one text. @return its rows as "a,b;c,d" with nothing for NULL, the empty text for what is no query, or
    /// "ORA-nnnnn". Values are bound as texts and hold afterwards what the statement wrote to them.
    std::string run(const std::string& text, std::vector<std::string>& values) const {
        OCIStmt* statement = prepare(text);
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i].resize(textSize);
            bind(statement, static_cast<ub4>(i + 1), values[i].data(), textSize, SQLT_STR);
        }
        const bool query = attribute<ub2>(statement, OCI_HTYPE_STMT, OCI_ATTR_STMT_TYPE) == OCI_STMT_SELECT;
        const int status = execute(statement, query ? 0 : 1);
        const std::string result = status != OCI_SUCCESS ? failure(status) : query ? rows(statement) : std::string();
        for (auto& value : values) value.resize(value.find('\0'));
        release(statement);
        return result;
    }
    std::string run(const std::string& text, std::vector<std::string>&& values = {}) const { return run(text, values); }

    OCIEnv* env = nullptr;
    OCIError* error = nullptr;
    OCISvcCtx* service = nullptr;
    int logonCode = 0;

  private:
    static constexpr std::size_t textSize = 4001;

    static std::string failure(int number) {
        char text[16];
        std::snprintf(text, sizeof text, "ORA-%05d", number);
        return text;
    }

    std::string rows(OCIStmt* query) const {
        struct Column {
            std::string text = std::string(textSize, '\0');
            sb2 indicator = 0;
        };
        std::vector<Column> columns(count(query, OCI_ATTR_PARAM_COUNT));
        for (ub4 i = 0; i < columns.size(); ++i) {
            define(query, i + 1, columns[i].text.data(), textSize, SQLT_STR, &columns[i].indicator);
        }
        std::string all;
        int status = fetch(query);
        for (bool first = true; status == OCI_SUCCESS; status = fetch(query), first = false) {
            if (!first) all += ';';
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (i > 0) all += ',';
                if (columns[i].indicator != -1) all += columns[i].text.c_str();
            }
        }
        return status == OCI_NO_DATA ? all : failure(status);
    }
};
