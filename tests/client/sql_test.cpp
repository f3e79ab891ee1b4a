#include "tests/oci_session.h"
#include "tests/support.h"

namespace {

struct Case {
    const char* sql;
    const char* result; ///< as OciSession::run gives it; behind " > " the bound values, where the statement changed any
    std::vector<std::string> values{};
};

struct Group {
    const char* name;
    std::vector<Case> cases; ///< run one behind the other on two tables
};

class ClientSql : public ::testing::TestWithParam<Group> {
  protected:
    ClientSql() {
        for (const char* sql :
             {"CREATE TABLE dept (deptno NUMBER(2) PRIMARY KEY, dname CHAR(8), hired NUMBER)",
              "CREATE TABLE emp (empno NUMBER(4) CONSTRAINT pk PRIMARY KEY, ename VARCHAR2(10) NOT NULL, "
              "hired DATE DEFAULT DATE '2024-01-01', sal NUMBER(7,2) CHECK (sal BETWEEN 1 AND '9000'), "
              "code VARCHAR2(5), bytes RAW(3), deptno NUMBER(2) REFERENCES dept)",
              "INSERT INTO dept VALUES (10, 'SALES', 1)",
              "INSERT INTO emp VALUES (1, 'SMITH', DATE '2024-02-29', 800, '05', '0aff', 10)",
              "INSERT INTO emp (empno, ename, sal, code) VALUES (2, 'ALLEN', 1600.555, 'x')", "COMMIT"}) {
            EXPECT_EQ(session.run(sql), "") << sql;
        }
    }

    std::string run(const Case& tested) const {
        std::vector<std::string> values = tested.values;
        std::string result = session.run(tested.sql, values);
        if (values == tested.values) return result;
        for (const auto& value : values) result += (&value == values.data() ? " > " : ",") + value;
        return result;
    }

    OciSession session{"memory:sql"};
};

TEST_P(ClientSql, isOracles) {
    for (const auto& tested : GetParam().cases) EXPECT_EQ(run(tested), tested.result) << tested.sql;
}

const Group groups[] = {
    {"texts",
     {{"SELECT 'it''s', ':1', \"ENAME\" FROM emp WHERE empno = 1", "it's,:1,SMITH"},
      {"SELECT /* ' */ 1 -- :x \"\n FROM DUAL /* :2 */", "1"},
      {"SELECT '' || NULL, NVL('', 'null'), LENGTH('') FROM DUAL", ",null,"},
      {"SELECT 1 FROM DUAL WHERE '' = ''", ""},
      {"SELECT 1 FROM DUAL WHERE :1 IS NULL", "1", {""}},
      {"SELECT 'abc FROM DUAL", "ORA-01756"},
      {"SELECT 1 FROM DUAL; SELECT 2 FROM DUAL", "ORA-00911"}}},
    {"placeholders",
     {{"SELECT :a, :b, :a FROM DUAL", "1,2,3", {"1", "2", "3"}},
      {"BEGIN :a := :b || :A; END;", " > yx,y", {"x", "y"}},
      {"SELECT :1 FROM DUAL", "ORA-01008"},
      {"BEGIN NULL; END;", ""}}},
    {"names",
     {{"CREATE TABLE \"it's\" (\"key\" NUMBER, \"order\" VARCHAR2(2), \"a b\" NUMBER, limit NUMBER, at NUMBER)", ""},
      {"INSERT INTO \"it's\" (\"key\", \"order\", \"a b\", limit, at) VALUES (1, 'x', 3, 4, 5)", ""},
      {"SELECT \"key\", \"order\", t.\"a b\", limit, t.at FROM \"it's\" t ORDER BY \"order\"", "1,x,3,4,5"},
      {"UPDATE \"it's\" SET \"key\" = \"key\" + 1, \"order\" = 'abc'", "ORA-12899"},
      {"SELECT \"key\" FROM \"it's\" WHERE \"key\" IN (1) ORDER BY \"key\"", "1"},
      {"SELECT scott.emp.empno FROM scott.emp e", "ORA-00904"},
      {"SELECT e.empno \"select\" FROM scott.emp e WHERE e.empno = 1", "1"},
      {"SELECT nope FROM emp", "ORA-00904"},
      {"SELECT deptno FROM emp, dept", "ORA-00918"},
      {"SELECT 1 FROM nope", "ORA-00942"}}},
    {"expressions",
     {{"SELECT 7 / 2, 2 + 3 * 4, - -5, 1e3, .5, 0.1 + 0.2, -'5' FROM DUAL", "3.5,14,5,1000,.5,.3,-5"},
      {"SELECT 9223372036854775806 + 1, 1 / 3 FROM DUAL", "9223372036854775807,.333333333333333"},
      {"SELECT 'a' + 1 FROM DUAL", "ORA-01722"},
      {"SELECT emp.hired + 1 FROM emp, dept WHERE empno = 1", "2024-03-01 00:00:00"},
      {"SELECT EXTRACT(YEAR FROM hired), CAST(sal AS NUMBER(5)), CAST(empno AS CHAR(2)) || '.' FROM emp WHERE empno = "
       "1",
       "2024,800,1 ."},
      {"SELECT CASE WHEN sal > '1000' THEN 'much' ELSE ename END FROM emp ORDER BY empno", "SMITH;much"},
      {"SELECT (((((1))))) FROM DUAL", "1"},
      {"SELECT (1 FROM DUAL", "ORA-00907"},
      {"SELECT NVL(1; 2) FROM DUAL", "ORA-00911"},
      {"SELECT CASE FROM DUAL", "ORA-00936"},
      {"SELECT 1 FROM", "ORA-00903"}}},
    {"comparisons_of_different_types",
     {{"SELECT empno FROM emp WHERE empno + 0 = '1'", "1"},
      {"SELECT empno FROM emp WHERE empno + 0 = :1", "1", {"01"}},
      {"SELECT empno FROM emp WHERE :1 > 5 AND empno = 1", "", {"4"}},
      {"SELECT empno FROM emp WHERE empno IN ('1', 9)", "1"},
      {"SELECT empno FROM emp WHERE empno = :1", "ORA-01722", {"one"}},
      {"SELECT empno FROM emp WHERE empno = 1 AND code = 5", "1"},
      {"SELECT empno FROM emp WHERE code = 5", "ORA-01722"},
      {"SELECT empno FROM emp WHERE TO_CHAR(hired, 'MM') = 2", "1"},
      {"SELECT empno FROM emp WHERE hired = '29-FEB-24'", "1"},
      {"SELECT empno FROM emp WHERE hired BETWEEN :1 AND '29-feb-2024'", "1;2", {"2024-01-01"}},
      {"SELECT empno FROM emp WHERE emp.hired > 5", "ORA-00932"},
      {"SELECT empno FROM emp WHERE bytes = '0AFF'", "1"},
      {"SELECT dname || '.' FROM dept WHERE dname = 'SALES'", "SALES   ."},
      {"SELECT y FROM (SELECT TO_CHAR(hired, 'YYYY') hired, empno y FROM emp) WHERE hired = '2024' AND y = 1", "1"},
      {"SELECT COUNT(*) FROM emp HAVING COUNT(*) = :1", "2", {"2"}}}},
    {"queries",
     {{"SELECT deptno FROM emp ORDER BY deptno", "10;"},
      {"SELECT deptno FROM emp ORDER BY deptno DESC, empno", ";10"},
      {"SELECT empno FROM emp ORDER BY deptno NULLS FIRST FETCH FIRST ROW ONLY", "2"},
      {"SELECT empno FROM emp ORDER BY empno OFFSET 1 ROWS FETCH NEXT 5 ROWS ONLY", "2"},
      {"SELECT empno, 10 FROM emp ORDER BY 2, 1 DESC FETCH FIRST ROW ONLY", "2,10"},
      {"SELECT empno - -1, -1 - -empno FROM emp WHERE empno = 2", "3,1"},
      {"SELECT empno FROM emp MINUS SELECT 1 FROM DUAL", "2"},
      {"SELECT (SELECT SUM(x.sal) / 1000 FROM emp x WHERE x.empno < e.empno) FROM emp e ORDER BY 1 NULLS FIRST", ";.8"},
      {"SELECT empno FROM emp UNION ALL SELECT sal FROM emp ORDER BY 1", "1;2;800;1600.56"},
      {"SELECT code FROM emp UNION SELECT 'longer' FROM DUAL UNION ALL SELECT NULL FROM DUAL", "05;longer;x;"},
      {"WITH x AS (SELECT code c FROM emp) SELECT NULL FROM DUAL UNION ALL SELECT c FROM x MINUS SELECT 'x' FROM DUAL",
       ";05"},
      {"SELECT NULL FROM DUAL UNION ALL SELECT NULL FROM DUAL UNION ALL SELECT sal FROM emp", ";;800;1600.56"},
      {"SELECT empno FROM emp UNION ALL SELECT ename FROM emp", "ORA-01790"},
      {"SELECT e.ename, d.dname FROM emp e LEFT JOIN dept d ON e.deptno = d.deptno ORDER BY e.empno",
       "SMITH,SALES   ;ALLEN,"},
      {"WITH x AS (SELECT sal s FROM emp) SELECT SUM(s), COUNT(*) FROM x", "2400.56,2"},
      {"SELECT ename FROM emp WHERE ename LIKE 's%' OR ename LIKE '_L%'", "ALLEN"},
      {"SELECT COUNT(*) FROM emp WHERE 'a_é%' LIKE 'a!__!%' ESCAPE '!' AND 'abc' NOT LIKE 'a!_%' ESCAPE '!'", "2"},
      {"SELECT COUNT(*) FROM emp WHERE 'xaxbxc' LIKE '%x_x%c' ESCAPE '!' AND 'xaxb' NOT LIKE '%c' ESCAPE '!'", "2"},
      {"SELECT COUNT(*) FROM emp WHERE ename LIKE 'a\\b' ESCAPE '\\'", "ORA-01424"},
      {"SELECT e.empno, d.dname FROM emp e, dept d WHERE e.deptno = d.deptno(+) ORDER BY 1", "1,SALES   ;2,"},
      {"SELECT DISTINCT ename FROM emp FOR UPDATE", "ORA-01786"},
      {"SELECT MAX(MAX(sal)) FROM emp", "ORA-00978"}}},
    {"grouping",
     {{"SELECT deptno, COUNT(*) FROM emp GROUP BY ROLLUP(deptno) ORDER BY GROUPING(deptno), deptno", "10,1;,1;,2"},
      {"SELECT empno, COUNT(*) FROM emp GROUP BY ROLLUP(empno) ORDER BY empno NULLS FIRST", ",2;1,1;2,1"},
      {"SELECT e FROM (SELECT empno e FROM emp GROUP BY ROLLUP(empno)) ORDER BY e", "1;2;"},
      {"SELECT empno FROM emp GROUP BY ROLLUP(empno) ORDER BY 1 DESC FETCH FIRST 2 ROWS ONLY", ";2"},
      {"SELECT GROUPING(deptno) || deptno FROM emp GROUP BY CUBE(deptno) ORDER BY 1", "0;010;1"},
      {"SELECT GROUPING_ID(deptno, code), SUM(sal) FROM emp GROUP BY GROUPING SETS ((deptno, code), deptno, ()) "
       "HAVING SUM(sal) > 800 ORDER BY 1",
       "0,1600.56;1,1600.56;3,2400.56"}}},
    {"conversions",
     {{"SELECT DECODE(dname, 'SALES', 'short', 'SALES   ', 'padded') FROM dept WHERE dname = 'SALES'", "padded"},
      {"SELECT TO_CHAR(FROM_TZ(TIMESTAMP '2024-07-01 10:00:00', 'UTC') AT TIME ZONE 'Europe/Paris', 'HH24:MI TZH:TZM') "
       "FROM DUAL",
       "12:00 +02:00"},
      {"SELECT CAST(TIMESTAMP '2024-07-01 10:00:00 +02:00' AT TIME ZONE '-01:30' AS DATE) FROM DUAL",
       "2024-07-01 06:30:00"},
      {"SELECT hired AT TIME ZONE 'UTC' FROM emp", "ORA-30084"},
      {"SELECT nope.NEXTVAL FROM DUAL", "ORA-02289"}}},
    {"sums",
     {{"CREATE TABLE s (id NUMBER(2), x NUMBER(9,2), n NUMBER(18))", ""},
      {"INSERT INTO s SELECT 1, 0.1, 900000000000000001 FROM DUAL UNION ALL SELECT 2, 0.2, 3 FROM DUAL UNION ALL "
       "SELECT 3, -0.3, NULL FROM DUAL",
       ""},
      {"SELECT COUNT(*), SUM(n), AVG(n) FROM s HAVING SUM(x) = 0", "3,900000000000000004,450000000000000002"},
      {"SELECT SUM(x), AVG(x) FROM s WHERE id < 3 HAVING SUM(x) = 0.3 AND AVG(x) = 0.15", ".3,.15"},
      {"SELECT SUM(DISTINCT ABS(x)), SUM(x / 1e3) FROM s HAVING SUM(x * 1.1) = 0 AND SUM(DISTINCT ABS(x)) = 0.6",
       ".6,0"},
      {"SELECT AVG(id), SUM(id / 3), AVG(1 / 3) FROM s", "2,2,.333333333333333"},
      {"SELECT id FROM (SELECT id, SUM(x) OVER (ORDER BY id ROWS 1 PRECEDING) t FROM s) WHERE t IN (0.3, -0.1)", "2;3"},
      {"SELECT t FROM (SELECT id, SUM(DECODE(id, 1, 1e17, 2, 1e30, x)) OVER (ORDER BY id ROWS 1 PRECEDING) t FROM s "
       "UNION ALL SELECT 4, 0 FROM DUAL) WHERE id = 4 OR t < 0",
       "0"},
      {"SELECT AVG(x) OVER (ORDER BY id ROWS BETWEEN CURRENT ROW AND CURRENT ROW) FROM s", ".1;.2;-.3"},
      {"SELECT SUM(3000000000000000000), SUM(-3000000000000000000) / 3, SUM(id / 30000) FROM s",
       "9000000000000000000,-3000000000000000000,.0002"},
      {"SELECT SUM(POWER(10, 308)) FROM s", "ORA-01426"},
      {"SELECT SUM(x), AVG(n) FROM s WHERE id > 9", ","},
      {"SELECT SUM('5'), SUM(x || '') FROM s WHERE id = 1", "5,.1"},
      {"SELECT SUM(SUBSTR('x', id)) FROM s", "ORA-01722"}}},
    {"changes",
     {{"INSERT INTO emp VALUES (1)", "ORA-00947"},
      {"INSERT INTO emp (empno, ename) SELECT 3 FROM DUAL", "ORA-00947"},
      {"INSERT INTO emp (empno) VALUES (3, 4)", "ORA-00913"},
      {"INSERT INTO emp (empno, nope) VALUES (3, 4)", "ORA-00904"},
      {"INSERT INTO emp (empno, ename) VALUES (3, '')", "ORA-01400"},
      {"INSERT INTO emp (empno, ename) VALUES (1, 'X')", "ORA-00001"},
      {"INSERT INTO emp (empno, ename, sal) VALUES (3, 'X', 9000.01)", "ORA-02290"},
      {"INSERT INTO emp (empno, ename, deptno) VALUES (3, 'X', 99)", "ORA-02291"},
      {"INSERT INTO emp (empno, ename) SELECT empno + 10, 'far too long' FROM emp", "ORA-12899"},
      {"INSERT INTO emp (empno, ename, hired) SELECT empno + 10, LOWER(ename), '01-JAN-20' FROM emp", ""},
      {"UPDATE emp e SET e.sal = e.sal * 2, (code, deptno) = (SELECT 'new', 10 FROM DUAL) WHERE e.empno = 2", ""},
      {"SELECT empno, ename, hired, sal, code, deptno FROM emp WHERE empno IN (2, 12) ORDER BY 1",
       "2,ALLEN,2024-01-01 00:00:00,3201.12,new,10;12,allen,2020-01-01 00:00:00,,,"},
      {"UPDATE emp SET nope = 1", "ORA-00904"},
      {"DELETE FROM dept", "ORA-02292"},
      {"DELETE emp WHERE deptno = 10", ""},
      {"DELETE FROM dept", ""}}},
    {"keys_hold_when_a_statement_ends",
     {{"CREATE TABLE k (id NUMBER(3) PRIMARY KEY, a NUMBER(3), b NUMBER(3), CONSTRAINT ab UNIQUE (a, b))", ""},
      {"INSERT INTO k SELECT LEVEL, 1, LEVEL FROM DUAL CONNECT BY LEVEL <= 3", ""},
      {"UPDATE k SET id = id + 1, b = 4 - b", ""},
      {"SELECT id, b FROM k ORDER BY id", "2,3;3,2;4,1"},
      {"UPDATE k SET b = 2 WHERE id < 4", "ORA-00001"},
      {"SELECT id, b FROM k ORDER BY id", "2,3;3,2;4,1"},
      {"BEGIN UPDATE k SET id = 6 - id; IF SQL%ROWCOUNT <> 3 THEN RAISE NO_DATA_FOUND; END IF; END;", ""},
      {"SELECT id, b FROM k ORDER BY id", "2,1;3,2;4,3"},
      {"INSERT INTO k VALUES (2, 0, 0)", "ORA-00001"},
      {"INSERT INTO k VALUES (5, 1, 3)", "ORA-00001"}}},
    {"reads_before_writing",
     {{"UPDATE emp e SET sal = 9000 - sal WHERE EXISTS (SELECT 1 FROM emp o WHERE o.sal > e.sal)", ""},
      {"SELECT sal FROM emp ORDER BY empno", "8200;1600.56"},
      {"UPDATE emp e SET empno = empno + 1 WHERE empno < ANY (SELECT empno FROM emp)", "ORA-00001"},
      {"UPDATE emp e SET sal = sal + (SELECT MAX(sal) FROM emp) - 8199", ""},
      {"SELECT sal FROM emp ORDER BY empno", "8201;1601.56"},
      {"DELETE FROM emp e WHERE EXISTS (SELECT 1 FROM emp o WHERE o.empno <> e.empno)", ""},
      {"SELECT COUNT(*) FROM emp", "0"}}},
    {"returning",
     {{"UPDATE emp SET sal = 5 WHERE empno = 1 RETURNING ename, sal INTO :1, :2", " > SMITH,5", {"", ""}},
      {"DELETE FROM emp WHERE empno = 9 RETURNING ename INTO :1", "", {"as it was"}},
      {"UPDATE emp SET sal = 7 RETURNING sal INTO :1", "ORA-24369 > 7", {""}},
      {"UPDATE emp SET sal = 7 WHERE empno = 2 RETURNING bytes INTO :1", "ORA-01405", {""}},
      {"UPDATE emp SET sal = 7 RETURNING sal, ename INTO :1", "ORA-00913", {""}},
      {"SELECT sal FROM emp ORDER BY empno", "5;1600.56"}}},
    {"definitions",
     {{"CREATE TABLE emp (a NUMBER)", "ORA-00955"},
      {"CREATE TABLE t (a NUMBER, A DATE)", "ORA-00957"},
      {"CREATE TABLE t (a FOO)", "ORA-00902"},
      {"CREATE TABLE t (a VARCHAR2(70000))", "ORA-00910"},
      {"CREATE TABLE t (a NUMBER) TABLE x", "ORA-00922"},
      {"CREATE TABLE t (a NUMBER DEFAULT 1 + 2, b VARCHAR2(3) DEFAULT 'a''b' NOT NULL, PRIMARY KEY (a))", ""},
      {"ALTER TABLE t ADD (c CHAR(2) DEFAULT 'c', d NUMBER(5,-2))", ""},
      {"INSERT INTO t (d) VALUES (149)", ""},
      {"SELECT a, b, c, d FROM t", "3,a'b,c ,100"},
      {"INSERT INTO t (a) VALUES (NULL)", "ORA-01400"},
      {"CREATE TABLE u AS SELECT a, a / 2 half, 'x' b, SYSDATE d FROM t", ""},
      {"SELECT half, b FROM u", "1.5,x"},
      {"CREATE OR REPLACE VIEW v (twice) AS SELECT a * 2 FROM t WHERE b <> '5'", ""},
      {"SELECT twice FROM v", "6"},
      {"CREATE UNIQUE INDEX i ON t (UPPER(b), c DESC)", ""},
      {"INSERT INTO t (a, b) VALUES (4, 'A''B')", "ORA-00001"},
      {"DROP TABLE dept", "ORA-02449"},
      {"DROP INDEX nope", "ORA-01418"},
      {"CREATE UNIQUE INDEX k ON t (d, a)", ""},
      {"ALTER TABLE t ADD CONSTRAINT k UNIQUE (c)", "ORA-00955"},
      {"ALTER TABLE t ADD CONSTRAINT k UNIQUE (a, d)", ""},
      {"DROP INDEX k", "ORA-02429"},
      {"ALTER TABLE t DROP CONSTRAINT k", ""},
      {"DROP INDEX k", ""},
      {"TRUNCATE TABLE u", ""},
      {"SELECT COUNT(*) FROM u", "0"},
      {"ALTER TABLE u RENAME COLUMN half TO h", ""},
      {"ALTER TABLE u DROP COLUMN b", ""},
      {"SELECT * FROM u", ""},
      {"DROP TABLE u CASCADE CONSTRAINTS", ""},
      {"SELECT * FROM u", "ORA-00942"}}},
    {"blocks",
     {{"BEGIN INSERT INTO emp (empno, ename) VALUES (:n, :t); UPDATE emp SET code = :t WHERE empno = :n; END;",
       "",
       {"7", "AB"}},
      {"SELECT ename, code FROM emp WHERE empno = 7", "AB,AB"},
      {"BEGIN SELECT ename, sal INTO :a, :b FROM emp WHERE empno = :c; END;", " > SMITH,800,1", {"", "", "1"}},
      {"BEGIN SELECT ename INTO :a FROM emp WHERE empno = 99; END;", "ORA-01403", {"x"}},
      {"BEGIN SELECT ename INTO :a FROM emp; END;", "ORA-01422", {"x"}},
      {"BEGIN SELECT ename, sal INTO :a FROM emp WHERE empno = 1; END;", "ORA-06550", {"x"}},
      {"BEGIN :a := CASE WHEN :a = 1 THEN 'one' END || ';'; END;", " > one;", {"1"}},
      {"BEGIN UPDATE emp SET sal = 1 WHERE empno = 1; INSERT INTO nope VALUES (1); END;", "ORA-06550"},
      {"SELECT sal FROM emp WHERE empno = 1", "800"},
      {"BEGIN NULL; END; garbage here", "ORA-06550"},
      {"BEGIN ROLLBACK TO x; END;", "ORA-01086"},
      {"SELECT sal FROM emp WHERE empno = 1", "800"},
      {"BEGIN x := 1; END;", "ORA-06550"},
      {"BEGIN INSERT INTO emp (empno, ename) VALUES (8, 'KEPT'); COMMIT; INSERT INTO emp (empno) VALUES (9); END;",
       "ORA-01400"},
      {"SELECT ename FROM emp WHERE empno = 8", "KEPT"}}},
    {"procedures",
     {{"CREATE PROCEDURE p (a IN NUMBER, b OUT VARCHAR2, c IN OUT NUMBER) IS BEGIN b := 'got ' || a; c := c + a; END "
       "p;",
       ""},
      {"BEGIN p(1, :b, :c); END;", " > got 1,6", {"", "5"}},
      {"BEGIN scott.p(c => :c, a => 1 + 1, b => :b); END;", " > 7,got 2", {"5", ""}},
      {"CALL p(3, :b, :c)", " > got 3,8", {"", "5"}},
      {"CALL p(3, :b, :c); x", "ORA-06550", {"", "5"}},
      {"CALL COMMIT", "ORA-06550"},
      {"CALL", "ORA-06550"},
      {"BEGIN NULL; END", "ORA-06550"},
      {"BEGIN p(1, :b); END;", "ORA-06550", {""}},
      {"BEGIN p(1, :b, 5); END;", "ORA-06550", {""}},
      {"BEGIN p(z => 1, b => :b, c => :c); END;", "ORA-06550", {"", "1"}},
      {"BEGIN p('x', :b, :c); END;", "ORA-06502", {"", "1"}},
      {"CREATE PROCEDURE p IS BEGIN NULL; END;", "ORA-00955"},
      {"CREATE PROCEDURE outer (n IN OUT NUMBER) AS BEGIN p(n, n, n); END;", ""},
      {"CREATE OR REPLACE PROCEDURE outer (n IN OUT NUMBER, ename OUT VARCHAR2) AS BEGIN p(n, ename, n); "
       "UPDATE emp SET ename = 'changed' WHERE empno = n; SELECT ename INTO ename FROM emp WHERE empno = n; END;",
       ""},
      {"BEGIN outer(:n, :e); END;", " > 2,changed", {"1", ""}},
      {"CREATE PROCEDURE fixed (a IN NUMBER) IS BEGIN a := 1; END;", "ORA-06550"},
      {"CREATE PROCEDURE endless IS BEGIN endless; END;", ""},
      {"CALL endless()", "ORA-06500"},
      {"CREATE PROCEDURE q IS BEGIN COMMIT COMMENT 'x'; END;", "ORA-06550"},
      {"CREATE PROCEDURE q IS BEGIN NULL END;", "ORA-06550"},
      {"CREATE PROCEDURE q IS BEGIN END;", "ORA-06550"},
      {"CREATE PROCEDURE q (n OUT NUMBER) IS BEGIN n := CASE WHEN 1 = 1 THEN 5 END; NULL; COMMIT WORK; END q;", ""},
      {"CALL q(:1)", " > 5", {""}},
      {"DROP PROCEDURE p", ""},
      {"BEGIN p(1, :b, :c); END;", "ORA-06550", {"", "5"}},
      {"DROP PROCEDURE p", "ORA-04043"}}},
    {"refused",
     {{"FOO BAR", "ORA-00900"},
      {"SELECT NVL(1) FROM DUAL", "ORA-00909"},
      {"SELECT NULLIF(1, 2, 3) FROM DUAL", "ORA-00909"},
      {"SELECT SUBSTR('a') FROM DUAL", "ORA-00938"},
      {"SELECT SUBSTR('a', 1, 1, 1) FROM DUAL", "ORA-00939"},
      {"PRAGMA journal_mode", "ORA-00900"},
      {"SELECT 1 FROM DUAL LIMIT 1", "ORA-00933"},
      {"ALTER SESSION SET x = 1", "ORA-02248"}}},
};

INSTANTIATE_TEST_SUITE_P(Of, ClientSql, ::testing::ValuesIn(groups), rowName);

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

// SQLite's stack is its own; ours must not depend on what a text says either.
TEST(ClientSqlDepth, isRefusedBeforeTheStackEnds) {
    const OciSession session("memory:deep");
    const int deep = 100000;
    EXPECT_EQ(session.run("SELECT " + repeated("(", deep) + "1" + repeated(")", deep) + " FROM DUAL"), "ORA-03001");
    EXPECT_EQ(session.run("SELECT " + repeated("NVL(1, ", deep) + "1" + repeated(")", deep) + " FROM DUAL"),
              "ORA-03001");
    EXPECT_EQ(session.run("SELECT " + repeated("CASE WHEN 1 = 1 THEN ", deep) + "1 FROM DUAL"), "ORA-03001");
    EXPECT_EQ(session.run("SELECT " + repeated("- ", deep) + "1 FROM DUAL"), "ORA-03001");
    EXPECT_EQ(session.run("SELECT LENGTH('x'" + repeated(" || 'y'", 400) + ") FROM DUAL"), "401");
    EXPECT_EQ(session.run("SELECT 0.5" + repeated(" * 1 + 0.5", 400) + " FROM DUAL"), "200.5");
}

} // namespace
