#include "tests/oci_session.h"
#include "tests/support.h"

#include <cstdint>

namespace {

struct Case {
    const char* text;
    const char* result; ///< its rows or ORA-nnnnn, and behind " > " each line of DBMS_OUTPUT
};

struct Group {
    const char* name;
    std::vector<Case> cases; ///< run one behind the other
};

/// What DBMS_OUTPUT was given, as " > line" each.
std::string output_of(const OciSession& session) {
    std::string all;
    for (std::vector<std::string> values{"", ""};; values = {"", ""}) {
        const std::string failure = session.run("DECLARE l VARCHAR2(100); s NUMBER; BEGIN DBMS_OUTPUT.GET_LINE(l, s); "
                                                ":line := NVL(l, '-'); :status := s; END;",
                                                values);
        if (!failure.empty()) return all + failure;
        if (values[1] != "0") return all;
        all += " > " + values[0];
    }
}

std::string run(const OciSession& session, const std::string& text) {
    const std::string result = session.run(text);
    return result + output_of(session);
}

class ClientBlocks : public ::testing::TestWithParam<Group> {
  protected:
    ClientBlocks() {
        for (const char* sql : {"CREATE TABLE t (id NUMBER(6) PRIMARY KEY, name VARCHAR2(10), made DATE)",
                                "INSERT INTO t VALUES (1, 'one', DATE '2024-01-31')",
                                "INSERT INTO t VALUES (2, 'two', NULL)", "COMMIT"}) {
            EXPECT_EQ(session.run(sql), "") << sql;
        }
    }

    OciSession session{"memory:plsql"};
};

TEST_P(ClientBlocks, runAsOnAServer) {
    for (const auto& tested : GetParam().cases) EXPECT_EQ(run(session, tested.text), tested.result) << tested.text;
}

const Group groups[] = {
    {"declarations",
     {{"DECLARE a NUMBER := 2; b CONSTANT VARCHAR2(5) := 'x' || a; c BOOLEAN := a > 1; BEGIN "
       "IF c THEN DBMS_OUTPUT.PUT_LINE(b); END IF; END;",
       " > x2"},
      {"DECLARE r t%ROWTYPE; n t.name%TYPE; TYPE p IS RECORD (x NUMBER := 7, y VARCHAR2(3)); q p; BEGIN "
       "SELECT * INTO r FROM t WHERE id = 1; n := UPPER(r.name); q.y := 'abc'; "
       "DBMS_OUTPUT.PUT_LINE(n || q.x || q.y); END;",
       " > ONE7abc"},
      {"DECLARE SUBTYPE small IS PLS_INTEGER RANGE 0..9; s small := 9; BEGIN s := s + 1; END;", "ORA-06502"},
      {"DECLARE a VARCHAR2(2); BEGIN a := 'abc'; END;", "ORA-06502"},
      {"DECLARE a NUMBER(3); BEGIN a := 1234; END;", "ORA-06502"},
      {"DECLARE a PLS_INTEGER := 2147483647; BEGIN a := a + 1; END;", "ORA-01426"},
      {"BEGIN DBMS_OUTPUT.PUT_LINE('x' + 1); END;", "ORA-06502"},
      {"BEGIN IF 'x' = 1 THEN NULL; END IF; END;", "ORA-06502"},
      {"DECLARE a NUMBER NOT NULL := 1; BEGIN a := NULL; END;", "ORA-06502"},
      {"DECLARE a CONSTANT NUMBER := 1; BEGIN a := 2; END;", "ORA-06550"},
      {"DECLARE a NUMBER; a NUMBER; BEGIN NULL; END;", "ORA-06550"},
      {"BEGIN a := 2; END;", "ORA-06550"},
      {"DECLARE a NUMBER := 1; BEGIN DECLARE a NUMBER := 2; BEGIN DBMS_OUTPUT.PUT_LINE(a); END; "
       "DBMS_OUTPUT.PUT_LINE(a); END;",
       " > 2 > 1"}}},
    {"control_flow",
     {{"DECLARE n NUMBER := 0; BEGIN LOOP n := n + 1; EXIT WHEN n > 3; CONTINUE WHEN n = 2; "
       "DBMS_OUTPUT.PUT(n || ' '); END LOOP; WHILE n > 0 LOOP n := n - 2; END LOOP; DBMS_OUTPUT.PUT_LINE(n); END;",
       " > 1 3 0"},
      {"BEGIN FOR i IN REVERSE 1..3 LOOP DBMS_OUTPUT.PUT(i); END LOOP; FOR i IN 3..1 LOOP DBMS_OUTPUT.PUT('x'); "
       "END LOOP; DBMS_OUTPUT.NEW_LINE; END;",
       " > 321"},
      {"BEGIN <<outer>> FOR i IN 1..3 LOOP FOR j IN 1..3 LOOP CONTINUE outer WHEN j = 2; EXIT outer WHEN i = 3; "
       "DBMS_OUTPUT.PUT_LINE(i || j); END LOOP; END LOOP outer; END;",
       " > 11 > 21"},
      {"BEGIN CASE WHEN 1 = 2 THEN NULL; ELSE DBMS_OUTPUT.PUT_LINE('else'); END CASE; "
       "CASE 'b' WHEN 'a' THEN NULL; WHEN 'b' THEN DBMS_OUTPUT.PUT_LINE('b'); END CASE; END;",
       " > else > b"},
      {"BEGIN CASE 3 WHEN 1 THEN NULL; END CASE; END;", "ORA-06592"},
      {"DECLARE n NUMBER; BEGIN IF n > 1 THEN NULL; ELSIF NOT (n > 1) THEN NULL; ELSIF n IS NULL AND "
       "(n = 1 OR 2 BETWEEN 1 AND 3) AND 4 NOT IN (1, 2) THEN DBMS_OUTPUT.PUT_LINE('null'); END IF; END;",
       " > null"},
      {"BEGIN GOTO x; END;", "ORA-06550"},
      {"BEGIN EXIT; END;", "ORA-06550"},
      {"BEGIN IF 1 THEN NULL; END IF; END;", "ORA-06550"},
      {"BEGIN NULL; END; x", "ORA-06550"},
      {"BEGIN NULL; END", "ORA-06550"},
      {"BEGIN END;", "ORA-06550"}}},
    {"exceptions",
     {{"DECLARE e EXCEPTION; BEGIN RAISE e; END;", "ORA-06510"},
      {"DECLARE e EXCEPTION; BEGIN RAISE e; EXCEPTION WHEN e THEN DBMS_OUTPUT.PUT_LINE(SQLCODE || SQLERRM); END;",
       " > 1User-Defined Exception"},
      {"DECLARE e EXCEPTION; PRAGMA EXCEPTION_INIT(e, -20001); BEGIN RAISE_APPLICATION_ERROR(-20001, 'no'); "
       "EXCEPTION WHEN e THEN DBMS_OUTPUT.PUT_LINE(SQLERRM); END;",
       " > ORA-20001: no"},
      {"BEGIN RAISE_APPLICATION_ERROR(-20099, 'own'); END;", "ORA-20099"},
      {"DECLARE n NUMBER; BEGIN SELECT id INTO n FROM t WHERE id = 9; EXCEPTION WHEN NO_DATA_FOUND THEN "
       "DBMS_OUTPUT.PUT_LINE(SQLCODE); END;",
       " > 100"},
      {"DECLARE n NUMBER; BEGIN SELECT id INTO n FROM t; EXCEPTION WHEN ZERO_DIVIDE OR TOO_MANY_ROWS THEN "
       "DBMS_OUTPUT.PUT_LINE(SQLCODE); END;",
       " > -1422"},
      {"BEGIN INSERT INTO t VALUES (3, 'x', NULL); INSERT INTO t VALUES (1, 'y', NULL); EXCEPTION "
       "WHEN DUP_VAL_ON_INDEX THEN DBMS_OUTPUT.PUT_LINE('dup'); END;",
       " > dup"},
      {"SELECT COUNT(*) FROM t", "3"},
      {"BEGIN INSERT INTO t VALUES (4, 'x', NULL); RAISE VALUE_ERROR; END;", "ORA-06502"},
      {"SELECT COUNT(*) FROM t", "3"},
      {"BEGIN BEGIN RAISE NO_DATA_FOUND; EXCEPTION WHEN OTHERS THEN RAISE; END; EXCEPTION WHEN NO_DATA_FOUND THEN "
       "DBMS_OUTPUT.PUT_LINE('again'); END;",
       " > again"},
      {"BEGIN RAISE nope; END;", "ORA-06550"}}},
    {"cursors",
     {{"DECLARE CURSOR c(low NUMBER) IS SELECT id, name FROM t WHERE id >= low ORDER BY id; r c%ROWTYPE; BEGIN "
       "OPEN c(2); LOOP FETCH c INTO r; EXIT WHEN c%NOTFOUND; DBMS_OUTPUT.PUT_LINE(r.name || c%ROWCOUNT); END LOOP; "
       "CLOSE c; FOR x IN c(1) LOOP DBMS_OUTPUT.PUT_LINE(x.id); END LOOP; END;",
       " > two1 > 1 > 2"},
      {"BEGIN FOR r IN (SELECT id FROM t ORDER BY id) LOOP UPDATE t SET id = r.id + 10 WHERE id = r.id; END LOOP; END;",
       ""},
      {"SELECT id FROM t ORDER BY id", "11;12"},
      {"DECLARE c SYS_REFCURSOR; n NUMBER; BEGIN OPEN c FOR SELECT id FROM t ORDER BY id DESC; FETCH c INTO n; "
       "CLOSE c; OPEN c FOR 'SELECT :1 FROM DUAL' USING n; FETCH c INTO n; DBMS_OUTPUT.PUT_LINE(n); END;",
       " > 12"},
      {"DECLARE CURSOR c IS SELECT id FROM t; n NUMBER; BEGIN FETCH c INTO n; END;", "ORA-01001"},
      {"DECLARE CURSOR c IS SELECT id FROM t; BEGIN OPEN c; OPEN c; END;", "ORA-06511"},
      {"DECLARE n NUMBER; m VARCHAR2(20); BEGIN UPDATE t SET name = 'new' WHERE id = 11 RETURNING id, name INTO n, m; "
       "DBMS_OUTPUT.PUT_LINE(n || m || SQL%ROWCOUNT); END;",
       " > 11new1"}}},
    {"collections",
     {{"DECLARE TYPE n IS TABLE OF NUMBER; v n := n(3, 1, 2); BEGIN v.EXTEND; v(4) := 9; v.DELETE(2); "
       "DBMS_OUTPUT.PUT_LINE(v.COUNT || v.FIRST || v.LAST || v.NEXT(1) || v.PRIOR(3)); "
       "IF v.EXISTS(2) THEN DBMS_OUTPUT.PUT_LINE('there'); END IF; v.TRIM; DBMS_OUTPUT.PUT_LINE(v.LAST); END;",
       " > 31431 > 3"},
      {"DECLARE TYPE m IS TABLE OF PLS_INTEGER INDEX BY VARCHAR2(10); v m; k VARCHAR2(10); BEGIN v('b') := 2; "
       "v('a') := 1; k := v.FIRST; WHILE k IS NOT NULL LOOP DBMS_OUTPUT.PUT(k || v(k)); k := v.NEXT(k); END LOOP; "
       "DBMS_OUTPUT.NEW_LINE; END;",
       " > a1b2"},
      {"DECLARE TYPE n IS TABLE OF NUMBER; v n; BEGIN v(1) := 1; END;", "ORA-06531"},
      {"DECLARE TYPE n IS TABLE OF NUMBER; v n := n(1); BEGIN v(2) := 1; END;", "ORA-06533"},
      {"DECLARE TYPE n IS VARRAY(2) OF NUMBER; v n := n(1, 2); BEGIN v.EXTEND; END;", "ORA-06532"},
      {"DECLARE TYPE n IS TABLE OF NUMBER INDEX BY PLS_INTEGER; v n; BEGIN DBMS_OUTPUT.PUT_LINE(v(1)); END;",
       "ORA-01403"},
      {"DECLARE TYPE ids IS TABLE OF t.id%TYPE; v ids; BEGIN SELECT id BULK COLLECT INTO v FROM t ORDER BY id; "
       "FORALL i IN 1..v.COUNT UPDATE t SET name = 'n' || v(i) WHERE id = v(i); "
       "DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT || SQL%BULK_ROWCOUNT(2)); END;",
       " > 21"},
      {"SELECT name FROM t ORDER BY id", "n1;n2"}}},
    {"routines",
     {{"CREATE FUNCTION twice (n NUMBER, m NUMBER DEFAULT 2) RETURN NUMBER IS BEGIN RETURN n * m; END;", ""},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(twice(4) || ' ' || twice(m => 3, n => twice(1))); END;", " > 8 6"},
      {"DECLARE FUNCTION f(n NUMBER) RETURN NUMBER; FUNCTION f(n NUMBER) RETURN NUMBER IS BEGIN "
       "IF n < 2 THEN RETURN 1; END IF; RETURN n * f(n - 1); END; BEGIN DBMS_OUTPUT.PUT_LINE(f(10)); END;",
       " > 3628800"},
      {"DECLARE n NUMBER := 1; PROCEDURE p(a IN OUT NUMBER, b OUT VARCHAR2) IS BEGIN a := a + n; b := 'b'; END; "
       "s VARCHAR2(1); BEGIN NULL; END;",
       ""},
      {"CREATE FUNCTION endless RETURN NUMBER IS BEGIN RETURN endless; END;", ""},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(endless); END;", "ORA-06500"},
      {"CREATE FUNCTION forgets RETURN NUMBER IS BEGIN NULL; END;", ""},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(forgets); END;", "ORA-06503"},
      {"CREATE PROCEDURE later IS BEGIN earlier(1); END;", ""},
      {"BEGIN later; END;", "ORA-06550"},
      {"CREATE PROCEDURE earlier (n NUMBER) IS BEGIN DBMS_OUTPUT.PUT_LINE(n); END;", ""},
      {"BEGIN later; END;", " > 1"},
      {"CREATE PROCEDURE wrong IS BEGIN IF; END;", "ORA-06550"},
      {"DROP FUNCTION twice", ""},
      {"DROP FUNCTION twice", "ORA-04043"}}},
    {"packages",
     {{"CREATE PACKAGE p IS limit CONSTANT NUMBER := 3; total NUMBER := 10; full EXCEPTION; PROCEDURE put(n NUMBER); "
       "PROCEDURE put(s VARCHAR2); FUNCTION calls RETURN NUMBER; END p;",
       ""},
      {"CREATE PACKAGE BODY p IS hidden NUMBER; PROCEDURE put(n NUMBER) IS BEGIN hidden := hidden + 1; "
       "IF hidden > limit THEN RAISE full; END IF; total := total + n; END; PROCEDURE put(s VARCHAR2) IS BEGIN "
       "put(LENGTH(s)); END; FUNCTION calls RETURN NUMBER IS BEGIN RETURN hidden; END; BEGIN hidden := 0; END p;",
       ""},
      {"BEGIN p.put(5); p.put('abc'); DBMS_OUTPUT.PUT_LINE(p.total || ' ' || p.calls); END;", " > 18 2"},
      {"BEGIN p.total := 1; p.put(1); p.put(1); EXCEPTION WHEN p.full THEN DBMS_OUTPUT.PUT_LINE(p.total); END;",
       " > 2"},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(p.hidden); END;", "ORA-06550"},
      {"CREATE TABLE other (n NUMBER)", ""},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(p.total); END;", " > 2"},
      {"DROP PACKAGE p", ""},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(p.total); END;", "ORA-06550"}}},
    {"triggers",
     {{"CREATE TABLE log (what VARCHAR2(40))", ""},
      {"CREATE SEQUENCE s START WITH 100", ""},
      {"CREATE TRIGGER fills BEFORE INSERT OR UPDATE ON t FOR EACH ROW WHEN (new.name IS NOT NULL) BEGIN "
       "IF INSERTING THEN :NEW.id := s.NEXTVAL; ELSE :NEW.name := :OLD.name || '>' || :NEW.name; END IF; END;",
       ""},
      {"CREATE TRIGGER tells AFTER INSERT OR DELETE OR UPDATE OF name ON t DECLARE w VARCHAR2(9); BEGIN "
       "IF UPDATING('NAME') THEN w := 'name'; ELSIF DELETING THEN w := 'delete'; ELSE w := 'insert'; END IF; "
       "INSERT INTO log VALUES (w); END;",
       ""},
      {"CREATE TRIGGER notes AFTER DELETE ON t REFERENCING OLD AS o FOR EACH ROW BEGIN "
       "INSERT INTO log VALUES ('gone ' || :o.id); END;",
       ""},
      {"INSERT INTO t (id, name) SELECT id, UPPER(name) FROM t", ""},
      {"UPDATE t SET name = 'x' WHERE id = 1", ""},
      {"UPDATE t SET made = NULL, name = NULL WHERE id = 2", ""},
      {"UPDATE t SET made = NULL WHERE id = 2", ""},
      {"DELETE FROM t WHERE id > 1", ""},
      {"SELECT id, name FROM t", "1,one>x"},
      {"SELECT what FROM log", "insert;name;name;gone 2;gone 100;gone 101;delete"},
      {"ALTER TRIGGER fills DISABLE", ""},
      {"INSERT INTO t (id, name) VALUES (5, 'five')", ""},
      {"SELECT name FROM t WHERE id = 5", "five"},
      {"CREATE OR REPLACE TRIGGER notes AFTER DELETE ON t FOR EACH ROW DECLARE n NUMBER; BEGIN "
       "SELECT COUNT(*) INTO n FROM t; END;",
       ""},
      {"DELETE FROM t", "ORA-04091"},
      {"CREATE OR REPLACE TRIGGER notes BEFORE DELETE ON t BEGIN RAISE_APPLICATION_ERROR(-20005, 'kept'); END;", ""},
      {"DELETE FROM t", "ORA-20005"},
      {"SELECT COUNT(*) FROM t", "2"},
      {"CREATE OR REPLACE TRIGGER notes BEFORE DELETE ON t BEGIN COMMIT; END;", ""},
      {"DELETE FROM t", "ORA-04092"},
      {"DROP TRIGGER notes", ""},
      {"DELETE FROM t", ""},
      {"CREATE TRIGGER views INSTEAD OF INSERT ON t BEGIN NULL; END;", "ORA-06550"},
      {"CREATE TABLE odd (a NUMBER, twice NUMBER AS (a * 2), h NUMBER DEFAULT 3 INVISIBLE, b NUMBER, c NUMBER)", ""},
      {"CREATE TRIGGER sets BEFORE INSERT OR UPDATE ON odd FOR EACH ROW BEGIN :NEW.b := NVL(:OLD.b, 0) + 7; END;", ""},
      {"INSERT INTO odd (a, c) VALUES (1, 1)", ""},
      {"UPDATE odd SET a = 2", ""},
      {"SELECT a, twice, h, b, c FROM odd", "2,4,3,14,1"}}},
    {"functions_in_queries",
     {{"CREATE FUNCTION f (a NUMBER, b NUMBER DEFAULT 2) RETURN NUMBER IS BEGIN RETURN a * b; END;", ""},
      {"SELECT f(id), f(id, 10) FROM t WHERE f(id) < 4 ORDER BY id", "2,10"},
      {"CREATE PACKAGE p IS FUNCTION g(a VARCHAR2) RETURN VARCHAR2; END;", ""},
      {"CREATE PACKAGE BODY p IS FUNCTION g(a VARCHAR2) RETURN VARCHAR2 IS BEGIN RETURN '<' || a || '>'; END; END;",
       ""},
      {"SELECT p.g(name) FROM t ORDER BY id", "<one>;<two>"},
      {"UPDATE t SET name = p.g(name) WHERE id = 1", ""},
      {"SELECT name FROM t WHERE id = 1", "<one>"},
      {"CREATE FUNCTION writes RETURN NUMBER IS BEGIN DELETE FROM t; RETURN 1; END;", ""},
      {"SELECT writes FROM DUAL", "ORA-14551"},
      {"CREATE FUNCTION misses RETURN NUMBER IS BEGIN RAISE NO_DATA_FOUND; END;", ""},
      {"SELECT NVL(misses, -1) FROM DUAL", "-1"}}},
    {"dynamic_sql",
     {{"DECLARE n NUMBER; s VARCHAR2(9); BEGIN EXECUTE IMMEDIATE 'CREATE TABLE made (x NUMBER)'; "
       "EXECUTE IMMEDIATE 'INSERT INTO made VALUES (:1)' USING 5; "
       "EXECUTE IMMEDIATE 'SELECT x, ''s'' FROM made WHERE x > :1' INTO n, s USING 4; "
       "EXECUTE IMMEDIATE 'BEGIN :a := :b * 2; END;' USING OUT n, n; DBMS_OUTPUT.PUT_LINE(n || s); END;",
       " > 10s"},
      {"BEGIN EXECUTE IMMEDIATE 'SELECT :1 FROM DUAL'; END;", "ORA-01008"},
      {"BEGIN EXECUTE IMMEDIATE 'DELETE FROM t' USING 1; END;", "ORA-01006"}}},
    {"transactions",
     {{"BEGIN UPDATE t SET name = 'a'; SAVEPOINT s; UPDATE t SET name = 'b'; ROLLBACK TO s; COMMIT; END;", ""},
      {"SELECT DISTINCT name FROM t", "a"},
      {"BEGIN UPDATE t SET name = 'c'; SAVEPOINT kept; UPDATE t SET name = 'd'; END;", ""},
      {"ROLLBACK TO kept", ""},
      {"SELECT DISTINCT name FROM t", "c"},
      {"ROLLBACK", ""}}},
};

INSTANTIATE_TEST_SUITE_P(Groups, ClientBlocks, ::testing::ValuesIn(groups),
                         [](const auto& group) { return std::string(group.param.name); });

std::string error_text(const OciSession& session, const std::string& text) {
    OCIStmt* statement = session.prepare(text);
    OCIStmtExecute(session.service, statement, session.error, 1, 0, nullptr, nullptr, OCI_DEFAULT);
    OraText buffer[1000];
    sb4 code = 0;
    OCIErrorGet(session.error, 1, nullptr, &code, buffer, sizeof buffer, OCI_HTYPE_ERROR);
    session.release(statement);
    return reinterpret_cast<const char*>(buffer);
}

TEST(ClientBlockErrors, tellTheWayThroughTheCalls) {
    const OciSession session("memory:stack");
    session.run("CREATE PROCEDURE inner IS\nBEGIN\n  RAISE NO_DATA_FOUND;\nEND;");
    session.run("CREATE PROCEDURE outer IS\nBEGIN\n  inner;\nEND;");
    EXPECT_EQ(error_text(session, "BEGIN\n  NULL;\n  outer;\nEND;"),
              "ORA-01403: no data found\nORA-06512: at \"SCOTT.INNER\", line 3\n"
              "ORA-06512: at \"SCOTT.OUTER\", line 3\nORA-06512: at line 3\n");
    EXPECT_EQ(error_text(session, "BEGIN\n  nope;\nEND;"),
              "ORA-06550: line 2, column 3:\nPLS-00201: identifier 'NOPE' must be declared\n"
              "ORA-06550: line 2, column 3:\nPL/SQL: Statement ignored\n");
}

TEST(ClientPackages, haveAStateForEachSession) {
    const OciSession first("memory:packages");
    first.run("CREATE PACKAGE counter IS n NUMBER := 0; END;");
    const OciSession second("memory:packages");
    EXPECT_EQ(run(first, "BEGIN counter.n := counter.n + 1; END;"), "");
    EXPECT_EQ(run(second, "BEGIN counter.n := counter.n + 5; DBMS_OUTPUT.PUT_LINE(counter.n); END;"), " > 5");
    EXPECT_EQ(run(first, "BEGIN DBMS_OUTPUT.PUT_LINE(counter.n); ROLLBACK; END;"), " > 1");
    first.run("CREATE OR REPLACE PACKAGE counter IS n NUMBER := 100; END;");
    EXPECT_EQ(run(second, "BEGIN DBMS_OUTPUT.PUT_LINE(counter.n); END;"), " > 100");
}

/// The same programs in C++ and as blocks: what they compute has to be equal.
struct Program {
    const char* name;
    const char* block;
    std::int64_t (*computed)(std::int64_t n);
};

std::int64_t collatz(std::int64_t n) {
    std::int64_t steps = 0;
    for (; n != 1; ++steps) n = n % 2 == 0 ? n / 2 : 3 * n + 1;
    return steps;
}

std::int64_t primes(std::int64_t n) {
    std::vector<bool> composite(static_cast<std::size_t>(n) + 1);
    std::int64_t sum = 0;
    for (std::int64_t i = 2; i <= n; ++i) {
        if (composite[static_cast<std::size_t>(i)]) continue;
        sum += i;
        for (std::int64_t k = i * i; k <= n; k += i) composite[static_cast<std::size_t>(k)] = true;
    }
    return sum;
}

std::int64_t checksum(std::int64_t n) {
    std::int64_t sum = n;
    for (std::int64_t i = 1; i <= 50; ++i) sum = (sum * 31 + i * i - (i % 3 == 0 ? sum : i)) % 1000003;
    return sum;
}

std::int64_t fibonacci(std::int64_t n) {
    return n < 2 ? n : fibonacci(n - 1) + fibonacci(n - 2);
}

const Program programs[] = {
    {"collatz",
     "DECLARE n NUMBER := :n; steps NUMBER := 0; BEGIN WHILE n <> 1 LOOP IF MOD(n, 2) = 0 THEN n := n / 2; ELSE "
     "n := 3 * n + 1; END IF; steps := steps + 1; END LOOP; :r := steps; END;",
     collatz},
    {"primes",
     "DECLARE TYPE flags IS TABLE OF BOOLEAN INDEX BY PLS_INTEGER; composite flags; total NUMBER := 0; k NUMBER; "
     "m NUMBER := :n; BEGIN FOR i IN 2..m LOOP IF NOT composite.EXISTS(i) THEN total := total + i; k := i * i; "
     "WHILE k <= m LOOP composite(k) := TRUE; k := k + i; END LOOP; END IF; END LOOP; :r := total; END;",
     primes},
    {"checksum",
     "DECLARE s NUMBER := :n; BEGIN FOR i IN 1..50 LOOP s := MOD(s * 31 + i * i - CASE WHEN MOD(i, 3) = 0 THEN s "
     "ELSE i END, 1000003); END LOOP; :r := s; END;",
     checksum},
    {"fibonacci",
     "DECLARE FUNCTION f(n PLS_INTEGER) RETURN PLS_INTEGER IS BEGIN RETURN CASE WHEN n < 2 THEN n ELSE "
     "f(n - 1) + f(n - 2) END; END; BEGIN :r := f(:n); END;",
     fibonacci},
};

class ClientPrograms : public ::testing::TestWithParam<Program> {};

TEST_P(ClientPrograms, computeWhatTheSameProgramInCppDoes) {
    const OciSession session("memory:programs");
    const bool result_first = std::string(GetParam().block).find(":r") < std::string(GetParam().block).find(":n");
    for (const std::int64_t n : {2, 3, 7, 12}) {
        std::vector<std::string> values{std::to_string(n), std::to_string(n)};
        EXPECT_EQ(session.run(GetParam().block, values), "");
        EXPECT_EQ(values[result_first ? 0 : 1], std::to_string(GetParam().computed(n))) << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, ClientPrograms, ::testing::ValuesIn(programs),
                         [](const auto& group) { return std::string(group.param.name); });

} // namespace
