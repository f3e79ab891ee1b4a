#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"routines",
     {{R"(CREATE OR REPLACE FUNCTION add_tax(p NUMBER, rate NUMBER DEFAULT 0.2) RETURN NUMBER DETERMINISTIC IS
BEGIN
  RETURN ROUND(p * (1 + rate), 2);
END add_tax;)",
       ""},
      {R"(SELECT name, add_tax(pay), add_tax(pay, 0.5), add_tax(p => pay, rate => 0) FROM worker WHERE team_no = 10 ORDER BY 1)",
       R"(Cora,2940,3675,2450
Kim,6000,7500,5000
Mia,1560,1950,1300)"},
      {"SELECT SUM(add_tax(pay)) FROM worker WHERE add_tax(pay) > 3000", "20190"},
      {R"(DECLARE
  x NUMBER := 1; y NUMBER; z VARCHAR2(10);
  PROCEDURE p(a IN NUMBER, b OUT NUMBER, c IN OUT NUMBER, d VARCHAR2 DEFAULT 'def') IS
  BEGIN b := a * 10; c := c + 1; z := d; END;
BEGIN
  p(5, y, x); DBMS_OUTPUT.PUT_LINE(x || ' ' || y || ' ' || z);
  p(c => x, b => y, a => 2, d => 'named'); DBMS_OUTPUT.PUT_LINE(x || ' ' || y || ' ' || z);
  p(3, y, c => x); DBMS_OUTPUT.PUT_LINE(x || ' ' || y || ' ' || z);
END;)",
       R"(2 50 def
3 20 named
4 30 def)"},
      {R"(DECLARE
  y NUMBER := 7;
  PROCEDURE p(b OUT NUMBER) IS BEGIN
    IF b IS NULL THEN DBMS_OUTPUT.PUT_LINE('out is null'); END IF;
    b := 1; RAISE NO_DATA_FOUND;
  END;
BEGIN
  p(y);
EXCEPTION WHEN NO_DATA_FOUND THEN DBMS_OUTPUT.PUT_LINE(y);
END;)",
       R"(out is null
7)"},
      {R"(DECLARE
  PROCEDURE p(n NUMBER) IS BEGIN DBMS_OUTPUT.PUT_LINE('number ' || n); END;
  PROCEDURE p(s VARCHAR2) IS BEGIN DBMS_OUTPUT.PUT_LINE('string ' || s); END;
  PROCEDURE p(d DATE) IS BEGIN DBMS_OUTPUT.PUT_LINE('date ' || TO_CHAR(d, 'YYYY')); END;
  PROCEDURE p(b BOOLEAN) IS BEGIN DBMS_OUTPUT.PUT_LINE('boolean'); END;
BEGIN
  p(1); p('x'); p(DATE '2020-05-05'); p(TRUE);
END;)",
       R"(number 1
string x
date 2020
boolean)"},
      {R"(DECLARE
  PROCEDURE p(n NUMBER) IS BEGIN n := 1; END;
BEGIN
  p(1);
END;)",
       R"(ORA-06550: line 2, column 34:
PLS-00363: expression 'N' cannot be used as an assignment target
ORA-06550: line 2, column 34:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  PROCEDURE p(n OUT NUMBER) IS BEGIN n := 1; END;
BEGIN
  p(1);
END;)",
       R"(ORA-06550: line 4, column 5:
PLS-00363: expression '1' cannot be used as an assignment target
ORA-06550: line 4, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  PROCEDURE p(n NUMBER) IS BEGIN NULL; END;
BEGIN
  p;
END;)",
       R"(ORA-06550: line 4, column 3:
PLS-00306: wrong number or types of arguments in call to 'P'
ORA-06550: line 4, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  FUNCTION f RETURN NUMBER IS BEGIN RETURN 1; END;
BEGIN
  f;
END;)",
       R"(ORA-06550: line 4, column 3:
PLS-00221: 'F' is not a procedure or is undefined
ORA-06550: line 4, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  n NUMBER;
  PROCEDURE p IS BEGIN NULL; END;
BEGIN
  n := p;
END;)",
       R"(ORA-06550: line 5, column 8:
PLS-00222: no function with name 'P' exists in this scope
ORA-06550: line 5, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  FUNCTION f RETURN NUMBER IS BEGIN NULL; END;
BEGIN
  DBMS_OUTPUT.PUT_LINE(f);
END;)",
       R"(ORA-06503: PL/SQL: Function returned without value
ORA-06512: at line 2
ORA-06512: at line 4)"},
      {R"(DECLARE
  FUNCTION even(n NUMBER) RETURN BOOLEAN;
  FUNCTION odd(n NUMBER) RETURN BOOLEAN IS BEGIN IF n = 0 THEN RETURN FALSE; END IF; RETURN even(n - 1); END;
  FUNCTION even(n NUMBER) RETURN BOOLEAN IS BEGIN IF n = 0 THEN RETURN TRUE; END IF; RETURN odd(n - 1); END;
BEGIN
  IF even(10) THEN DBMS_OUTPUT.PUT_LINE('even'); END IF;
  IF odd(7) THEN DBMS_OUTPUT.PUT_LINE('odd'); END IF;
END;)",
       R"(even
odd)"},
      {R"(CREATE OR REPLACE FUNCTION fact(n PLS_INTEGER) RETURN NUMBER AUTHID DEFINER IS
BEGIN
  RETURN CASE WHEN n <= 1 THEN 1 ELSE n * fact(n - 1) END;
END;)",
       ""},
      {"SELECT fact(5), fact(10) FROM dual", "120,3628800"},
      {R"(CREATE OR REPLACE PROCEDURE raise_salary(p_id worker.id%TYPE, p_pct NUMBER) AS
  v_sal worker.pay%TYPE;
BEGIN
  SELECT pay INTO v_sal FROM worker WHERE id = p_id;
  UPDATE worker SET pay = v_sal * (1 + p_pct / 100) WHERE id = p_id;
  IF SQL%ROWCOUNT = 0 THEN RAISE_APPLICATION_ERROR(-20001, 'none'); END IF;
EXCEPTION
  WHEN NO_DATA_FOUND THEN RAISE_APPLICATION_ERROR(-20002, 'No employee ' || p_id);
END raise_salary;
/)",
       ""},
      {"BEGIN raise_salary(7369, 10); END;", ""},
      {"SELECT pay FROM worker WHERE id = 7369", "880"},
      {"CALL raise_salary(7369, 10)", ""},
      {"SELECT pay FROM worker WHERE id = 7369", "968"},
      {"BEGIN :b1 := add_tax(100); :b2 := 'x' || :b1; END;", R"(120
x120)"},
      {R"(CREATE OR REPLACE FUNCTION no_rows RETURN NUMBER IS n NUMBER; BEGIN SELECT id INTO n FROM worker WHERE 1=0; RETURN n; END;)",
       ""},
      {"SELECT NVL(TO_CHAR(no_rows), 'null') FROM dual", "null"},
      {"CREATE OR REPLACE FUNCTION writes RETURN NUMBER IS BEGIN UPDATE worker SET pay = 0; RETURN 1; END;", ""},
      {"SELECT writes FROM dual",
       R"(ORA-14551: cannot perform a DML operation inside a query
ORA-06512: at "SCOTT.WRITES", line 1)"},
      {"CREATE OR REPLACE FUNCTION bad RETURN NUMBER IS BEGIN RAISE_APPLICATION_ERROR(-20500, 'bad'); END;", ""},
      {"SELECT bad FROM dual", R"(ORA-20500: bad
ORA-06512: at "SCOTT.BAD", line 1)"},
      {"SELECT nosuchfn(1) FROM dual", R"(ORA-00904: "NOSUCHFN": invalid identifier)"},
      {"SELECT add_tax() FROM dual", "ORA-06553: PLS-306: wrong number or types of arguments in call to 'ADD_TAX'"},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(scott.add_tax(10)); scott.raise_salary(p_id => 7369, p_pct => 0); END;", "12"},
      {"CREATE OR REPLACE FUNCTION is_big(n NUMBER) RETURN BOOLEAN IS BEGIN RETURN n > 100; END;", ""},
      {"BEGIN IF is_big(200) AND NOT is_big(5) THEN DBMS_OUTPUT.PUT_LINE('ok'); END IF; END;", "ok"},
      {R"(CREATE OR REPLACE PROCEDURE with_out(a IN VARCHAR2, b OUT VARCHAR2, c IN OUT NUMBER) IS BEGIN b := UPPER(a); c := NVL(c, 0) + 1; END;)",
       ""},
      {"BEGIN with_out('abc', :b1, :b2); END;", R"(ABC
1)"},
      {"DROP PROCEDURE with_out", ""},
      {"BEGIN with_out('abc', :b1, :b2); END;",
       R"(ORA-06550: line 1, column 7:
PLS-00201: identifier 'WITH_OUT' must be declared
ORA-06550: line 1, column 7:
PL/SQL: Statement ignored)"},
      {"DROP PROCEDURE with_out", "ORA-04043: object WITH_OUT does not exist"},
      {"ALTER PROCEDURE raise_salary COMPILE", ""},
      {"ALTER FUNCTION add_tax COMPILE", ""},
      {"ALTER PROCEDURE nosuch COMPILE", "ORA-04043: object NOSUCH does not exist"},
      {R"(DECLARE
  s VARCHAR2(5) := 'hello';
  PROCEDURE p(x VARCHAR2) IS BEGIN DBMS_OUTPUT.PUT_LINE(LENGTH(x)); END;
  PROCEDURE q(x OUT VARCHAR2) IS BEGIN x := 'much too long'; END;
BEGIN
  p('a longer text than five');
  q(s);
END;)",
       R"(23
ORA-06502: PL/SQL: numeric or value error: character string buffer too small
...)"},
      {R"(DECLARE
  v NUMBER := 10;
  PROCEDURE outerp IS
    v NUMBER := 20;
    PROCEDURE innerp IS BEGIN DBMS_OUTPUT.PUT_LINE(v || ' ' || outerp.v); v := 30; END;
  BEGIN innerp; DBMS_OUTPUT.PUT_LINE(v); END;
BEGIN outerp; DBMS_OUTPUT.PUT_LINE(v); END;)",
       R"(20 20
30
10)"}}},
    {"packages",
     {{R"(CREATE OR REPLACE PACKAGE pk AS
  c_max CONSTANT PLS_INTEGER := 10;
  g_count NUMBER := 0;
  TYPE rec IS RECORD (id NUMBER, name VARCHAR2(20));
  TYPE tab IS TABLE OF rec INDEX BY PLS_INTEGER;
  SUBTYPE short IS VARCHAR2(10);
  e_bad EXCEPTION;
  CURSOR c_workers(d NUMBER) IS SELECT name FROM worker WHERE team_no = d ORDER BY name;
  PROCEDURE inc(n NUMBER DEFAULT 1);
  FUNCTION get RETURN NUMBER;
  FUNCTION get(mult NUMBER) RETURN NUMBER;
  PROCEDURE fail;
END pk;)",
       ""},
      {R"(CREATE OR REPLACE PACKAGE BODY pk AS
  hidden NUMBER := 100;
  PROCEDURE private_p IS BEGIN hidden := hidden + 1; END;
  PROCEDURE inc(n NUMBER DEFAULT 1) IS BEGIN g_count := g_count + n; private_p; END inc;
  FUNCTION get RETURN NUMBER IS BEGIN RETURN g_count; END get;
  FUNCTION get(mult NUMBER) RETURN NUMBER IS BEGIN RETURN g_count * mult; END get;
  PROCEDURE fail IS BEGIN RAISE e_bad; END;
BEGIN
  g_count := 5;
  DBMS_OUTPUT.PUT_LINE('init');
END pk;)",
       ""},
      {"BEGIN pk.inc; pk.inc(3); DBMS_OUTPUT.PUT_LINE(pk.get || ' ' || pk.get(2) || ' ' || pk.c_max); END;",
       R"(init
9 18 10)"},
      {"BEGIN DBMS_OUTPUT.PUT_LINE(pk.g_count); pk.g_count := 50; END;", "9"},
      {"SELECT pk.get, pk.get(3) FROM dual", "50,150"},
      {"BEGIN pk.fail; EXCEPTION WHEN pk.e_bad THEN DBMS_OUTPUT.PUT_LINE('bad'); END;", "bad"},
      {"BEGIN pk.fail; END;",
       R"(ORA-06510: PL/SQL: unhandled user-defined exception
ORA-06512: at "SCOTT.PK", line 7
ORA-06512: at line 1)"},
      {R"(DECLARE t pk.tab; s pk.short := 'x'; BEGIN t(1).id := 1; t(1).name := 'n'; DBMS_OUTPUT.PUT_LINE(t(1).name || s); FOR r IN pk.c_workers(10) LOOP DBMS_OUTPUT.PUT_LINE(r.name); END LOOP; END;)",
       R"(nx
Cora
Kim
Mia)"},
      {"BEGIN pk.private_p; END;",
       R"(ORA-06550: line 1, column 10:
PLS-00302: component 'PRIVATE_P' must be declared
ORA-06550: line 1, column 7:
PL/SQL: Statement ignored)"},
      {"BEGIN pk.c_max := 1; END;",
       R"(ORA-06550: line 1, column 7:
PLS-00363: expression 'PK.C_MAX' cannot be used as an assignment target
ORA-06550: line 1, column 7:
PL/SQL: Statement ignored)"},
      {"ALTER PACKAGE pk COMPILE BODY", ""},
      {"ALTER PACKAGE pk COMPILE", ""},
      {"CREATE OR REPLACE PACKAGE nobody IS PROCEDURE p; END;", ""},
      {"BEGIN nobody.p; END;",
       R"(ORA-04067: not executed, package body "SCOTT.NOBODY" does not exist
ORA-06508: PL/SQL: could not find program unit being called: "SCOTT.NOBODY"
ORA-06512: at line 1)"},
      {R"(CREATE OR REPLACE PACKAGE BODY nobody IS PROCEDURE q IS BEGIN NULL; END; PROCEDURE p IS BEGIN DBMS_OUTPUT.PUT_LINE('p'); END; END;)",
       ""},
      {"BEGIN nobody.p; END;", "p"},
      {"DROP PACKAGE BODY nobody", ""},
      {"DROP PACKAGE nobody", ""},
      {"DROP PACKAGE nobody", "ORA-04043: object NOBODY does not exist"},
      {R"(CREATE OR REPLACE PACKAGE logger AS
  PROCEDURE log(msg VARCHAR2, lvl PLS_INTEGER := 1);
  PROCEDURE flush;
END;)",
       ""},
      {R"(CREATE OR REPLACE PACKAGE BODY logger AS
  TYPE lines_t IS TABLE OF VARCHAR2(200);
  lines lines_t := lines_t();
  PROCEDURE log(msg VARCHAR2, lvl PLS_INTEGER := 1) IS
  BEGIN
    lines.EXTEND;
    lines(lines.COUNT) := LPAD(' ', lvl * 2) || msg;
  END;
  PROCEDURE flush IS
  BEGIN
    FOR i IN 1 .. lines.COUNT LOOP DBMS_OUTPUT.PUT_LINE(lines(i)); END LOOP;
    lines.DELETE;
  END;
END logger;)",
       ""},
      {R"(BEGIN logger.log('one'); logger.log('two', 2); logger.flush; logger.flush; logger.log('three', lvl => 3); logger.flush; END;)",
       R"(  one
    two
      three)"}}},
};

using BlockRoutines = BlockCases;

TEST_P(BlockRoutines, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockRoutines, ::testing::ValuesIn(groups), name_of_group);

} // namespace
