#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"declarations",
     {{R"(DECLARE
  c CONSTANT NUMBER := 3.14;
  n NUMBER NOT NULL := 5;
  v worker.name%TYPE;
  r team%ROWTYPE;
BEGIN
  SELECT name INTO v FROM worker WHERE id = 7369;
  SELECT * INTO r FROM team WHERE team_no = 20;
  DBMS_OUTPUT.PUT_LINE(c || ' ' || n || ' ' || v || ' ' || r.title || '/' || r.place);
END;)",
       "3.14 5 Sol Scouting/Rome"},
      {"DECLARE n NUMBER NOT NULL := 5; BEGIN n := NULL; END;",
       R"(ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 1)"},
      {R"(DECLARE
  n NUMBER NOT NULL;
BEGIN
  NULL;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00218: a variable declared NOT NULL must have an initialization assignment)"},
      {R"(BEGIN
  x := 1;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00201: identifier 'X' must be declared
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  n NUMBER;
BEGIN
  n := undefined_fn(3);
END;)",
       R"(ORA-06550: line 4, column 8:
PLS-00201: identifier 'UNDEFINED_FN' must be declared
ORA-06550: line 4, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  n nosuch.col%TYPE;
BEGIN
  NULL;
END;)",
       R"(ORA-06550: line 2, column 5:
PLS-00201: identifier 'NOSUCH.COL' must be declared
ORA-06550: line 2, column 5:
PL/SQL: Item ignored)"},
      {R"(DECLARE
  v VARCHAR2(3);
BEGIN
  v := 'abcd';
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: character string buffer too small
ORA-06512: at line 4)"},
      {R"(DECLARE
  n NUMBER(3);
BEGIN
  n := 1000;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: number precision too large
ORA-06512: at line 4)"},
      {R"(DECLARE
  n NUMBER;
BEGIN
  n := 'abc';
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: character to number conversion error
ORA-06512: at line 4)"},
      {R"(DECLARE
  n NUMBER(5,2) := 123.456;
  i INTEGER := 2.5;
  p PLS_INTEGER := 3.5;
BEGIN
  DBMS_OUTPUT.PUT_LINE(n || ' ' || i || ' ' || p);
END;)",
       "123.46 3 4"},
      {R"(DECLARE
  v VARCHAR2(2) := 'abc';
BEGIN
  NULL;
EXCEPTION WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('not here');
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: character string buffer too small
ORA-06512: at line 2)"},
      {R"(BEGIN
  DECLARE
    v VARCHAR2(2) := 'abc';
  BEGIN
    NULL;
  EXCEPTION WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('inner');
  END;
EXCEPTION WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('outer');
END;)",
       "outer"},
      {R"(DECLARE
  SUBTYPE id_t IS PLS_INTEGER RANGE 1..10;
  SUBTYPE name_t IS VARCHAR2(5);
  i id_t := 10;
  s name_t := 'hello';
BEGIN
  DBMS_OUTPUT.PUT_LINE(i || s);
  i := 11;
END;)",
       R"(10hello
ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 8)"},
      {R"(DECLARE
  b BOOLEAN;
BEGIN
  IF b IS NULL THEN DBMS_OUTPUT.PUT_LINE('null'); END IF;
  IF b THEN DBMS_OUTPUT.PUT_LINE('t'); ELSE DBMS_OUTPUT.PUT_LINE('else'); END IF;
  IF NOT b THEN DBMS_OUTPUT.PUT_LINE('nt'); ELSE DBMS_OUTPUT.PUT_LINE('else2'); END IF;
  b := TRUE AND NULL;
  IF b IS NULL THEN DBMS_OUTPUT.PUT_LINE('TRUE AND NULL is null'); END IF;
  b := FALSE AND NULL;
  IF NOT b THEN DBMS_OUTPUT.PUT_LINE('FALSE AND NULL is false'); END IF;
  b := TRUE OR NULL;
  IF b THEN DBMS_OUTPUT.PUT_LINE('TRUE OR NULL is true'); END IF;
  b := 1 = 1;
  IF b = TRUE THEN DBMS_OUTPUT.PUT_LINE('eq'); END IF;
END;)",
       R"(null
else
else2
TRUE AND NULL is null
FALSE AND NULL is false
TRUE OR NULL is true
eq)"},
      {R"(DECLARE
  i PLS_INTEGER := 2147483647;
BEGIN
  i := i + 1;
END;)",
       R"(ORA-01426: numeric overflow
ORA-06512: at line 4)"},
      {R"(DECLARE
  i SIMPLE_INTEGER := 2147483647;
BEGIN
  i := i + 1;
  DBMS_OUTPUT.PUT_LINE(i);
END;)",
       "-2147483648"},
      {R"(DECLARE
  n NATURAL := 0;
BEGIN
  n := -1;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 4)"},
      {R"(DECLARE
  n POSITIVE;
BEGIN
  n := 0;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 4)"},
      {R"(DECLARE
  TYPE addr IS RECORD (street VARCHAR2(20), zip NUMBER(5) := 12345);
  TYPE person IS RECORD (name VARCHAR2(20), home addr);
  a person; b person;
BEGIN
  a.name := 'Joe'; a.home.street := 'Main';
  b := a;
  b.home.zip := 1;
  DBMS_OUTPUT.PUT_LINE(a.name || a.home.street || a.home.zip || ' ' || b.home.zip);
END;)",
       "JoeMain12345 1"},
      {R"(DECLARE
  d1 team%ROWTYPE;
  d2 team%ROWTYPE;
BEGIN
  d1.team_no := 50; d1.title := 'IT'; d1.place := 'PARIS';
  INSERT INTO team VALUES d1;
  d1.place := 'ROME';
  UPDATE team SET ROW = d1 WHERE team_no = 50;
  SELECT * INTO d2 FROM team WHERE team_no = 50;
  DBMS_OUTPUT.PUT_LINE(d2.title || d2.place || SQL%ROWCOUNT);
  ROLLBACK;
END;)",
       "ITROME1"},
      {R"(<<main>>
DECLARE
  x NUMBER := 1;
BEGIN
  DECLARE
    x NUMBER := 2;
  BEGIN
    DBMS_OUTPUT.PUT_LINE(x || main.x);
  END;
END;)",
       "21"},
      {R"(DECLARE
  x NUMBER := 1;
  y NUMBER := x + 1;
  z VARCHAR2(10) DEFAULT 'a' || y;
BEGIN
  DBMS_OUTPUT.PUT_LINE(z);
END;)",
       "a2"},
      {R"(DECLARE
  TYPE t IS RECORD (a NUMBER NOT NULL := 1);
  r t;
BEGIN
  r.a := NULL;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 5)"},
      {R"(DECLARE
  d DATE := '01-JAN-20';
  t TIMESTAMP := TIMESTAMP '2020-01-01 10:00:00.5';
  i INTERVAL DAY TO SECOND := INTERVAL '1 02:03:04.5' DAY TO SECOND;
  y INTERVAL YEAR TO MONTH := INTERVAL '1-6' YEAR TO MONTH;
BEGIN
  DBMS_OUTPUT.PUT_LINE(TO_CHAR(d + 1, 'YYYY-MM-DD'));
  DBMS_OUTPUT.PUT_LINE(TO_CHAR(t + i, 'YYYY-MM-DD HH24:MI:SS.FF1'));
  DBMS_OUTPUT.PUT_LINE(i);
  DBMS_OUTPUT.PUT_LINE(y);
  DBMS_OUTPUT.PUT_LINE(TO_CHAR(d + y, 'YYYY-MM-DD'));
  DBMS_OUTPUT.PUT_LINE(EXTRACT(YEAR FROM d) || ' ' || EXTRACT(MONTH FROM y));
END;)",
       R"(2020-01-02
2020-01-02 12:03:05.0
+01 02:03:04.500000
+01-06
2021-07-01
2020 6)"},
      {R"(DECLARE
  a VARCHAR2(10) := '';
BEGIN
  IF a IS NULL THEN DBMS_OUTPUT.PUT_LINE('empty is null'); END IF;
  DBMS_OUTPUT.PUT_LINE('[' || a || ']' || LENGTH(a));
END;)",
       R"(empty is null
[])"},
      {R"(DECLARE
  c CHAR(5) := 'ab';
  v VARCHAR2(5) := 'ab';
BEGIN
  DBMS_OUTPUT.PUT_LINE('[' || c || ']' || LENGTH(c));
  IF c = 'ab' THEN DBMS_OUTPUT.PUT_LINE('literal equal'); END IF;
  IF c = v THEN DBMS_OUTPUT.PUT_LINE('equal'); ELSE DBMS_OUTPUT.PUT_LINE('not equal'); END IF;
END;)",
       R"([ab   ]5
literal equal
not equal)"},
      {R"(DECLARE
  s VARCHAR2(100) := q'[It's "ok"]';
  t VARCHAR2(100) := q'{a}b}';
  n NVARCHAR2(10) := N'abc';
BEGIN
  /* comment */ DBMS_OUTPUT.PUT_LINE(s || t || n); -- trailing
  -- a line
END;)",
       R"(It's "ok"a}babc)"},
      {R"(DECLARE
  n NUMBER := 10;
BEGIN
  n := n / 0;
END;)",
       R"(ORA-01476: divisor is equal to zero
ORA-06512: at line 4)"},
      {R"(DECLARE
  n NUMBER;
BEGIN
  n := TRUE;
END;)",
       R"(ORA-06550: line 4, column 8:
PLS-00382: expression is of wrong type
ORA-06550: line 4, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  d DATE;
BEGIN
  d := TO_DATE('2024-13-01', 'YYYY-MM-DD');
END;)",
       R"(ORA-01843: not a valid month
ORA-06512: at line 4)"},
      {R"(DECLARE
  n NUMBER := 5;
BEGIN
  DBMS_OUTPUT.PUT_LINE(CASE n WHEN 1 THEN 'one' WHEN 5 THEN 'five' ELSE 'other' END);
  DBMS_OUTPUT.PUT_LINE(CASE WHEN n > 3 THEN 'big' END);
  DBMS_OUTPUT.PUT_LINE(2 ** 10 || ' ' || MOD(-7, 3) || ' ' || -7 / 2 || ' ' || TRUNC(-3.7));
END;)",
       R"(five
big
1024 -1 -3.5 -3)"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(TO_CHAR(1234.5, '9,999.99') || '|' || LPAD('x', 3, '*') || '|' || INITCAP('hello world') || '|' || TRANSLATE('abc','ab','xy') || '|' || SUBSTR('hello', -3, 2) || '|' || INSTR('banana','a',1,2) || '|' || REPLACE('aXbX','X','-') || '|' || NVL(NULL,'d') || '|' || GREATEST(1,5,3) || '|' || COALESCE(NULL,NULL,7));
END;)",
       " 1,234.50|**x|Hello World|xyc|ll|4|a-b-|d|5|7"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(DECODE(1,1,'a','b'));
END;)",
       R"(ORA-06550: line 2, column 24:
PLS-00204: function or pseudo-column 'DECODE' may be used inside a SQL statement only
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(BEGIN
  SELECT 1 FROM dual;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00428: an INTO clause is expected in this SELECT statement)"},
      {R"(DECLARE n NUMBER; BEGIN
  SELECT nosuch INTO n FROM dual;
END;)",
       R"(ORA-06550: line 2, column 10:
PL/SQL: ORA-00904: "NOSUCH": invalid identifier
ORA-06550: line 2, column 3:
PL/SQL: SQL Statement ignored)"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(1, 2);
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00306: wrong number or types of arguments in call to 'PUT_LINE'
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(TRUE);
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00306: wrong number or types of arguments in call to 'PUT_LINE'
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(BEGIN
  nosuch_proc;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00201: identifier 'NOSUCH_PROC' must be declared
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"}}},
    {"control",
     {{R"(BEGIN
  CASE 5 WHEN 1 THEN NULL; END CASE;
END;)",
       R"(ORA-06592: CASE not found while executing CASE statement
ORA-06512: at line 2)"},
      {R"(BEGIN
  FOR i IN REVERSE 1..3 LOOP DBMS_OUTPUT.PUT_LINE(i); END LOOP;
END;)",
       R"(3
2
1)"},
      {R"(DECLARE n NUMBER := 3; BEGIN
  FOR i IN 1..n LOOP n := 10; DBMS_OUTPUT.PUT_LINE(i); END LOOP;
  FOR i IN 5..1 LOOP DBMS_OUTPUT.PUT_LINE('never'); END LOOP;
  FOR i IN 1.4..2.6 LOOP DBMS_OUTPUT.PUT_LINE('r' || i); END LOOP;
END;)",
       R"(1
2
3
r1
r2
r3)"},
      {R"(DECLARE n NUMBER; BEGIN
  FOR i IN 1..n LOOP NULL; END LOOP;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 2)"},
      {R"(BEGIN
  FOR i IN 1..3 LOOP i := 5; END LOOP;
END;)",
       R"(ORA-06550: line 2, column 22:
PLS-00363: expression 'I' cannot be used as an assignment target
ORA-06550: line 2, column 22:
PL/SQL: Statement ignored)"},
      {R"(DECLARE i NUMBER := 100; BEGIN
  FOR i IN 1..2 LOOP DBMS_OUTPUT.PUT_LINE(i); END LOOP;
  DBMS_OUTPUT.PUT_LINE(i);
END;)",
       R"(1
2
100)"},
      {R"(DECLARE n NUMBER := 0; BEGIN
  GOTO second;
  <<first>>
  DBMS_OUTPUT.PUT_LINE('first');
  GOTO done;
  <<second>>
  DBMS_OUTPUT.PUT_LINE('second');
  GOTO first;
  <<done>>
  NULL;
END;)",
       R"(second
first)"},
      {R"(DECLARE n NUMBER := 0; BEGIN
  <<again>>
  n := n + 1;
  IF n < 3 THEN GOTO again; END IF;
  DBMS_OUTPUT.PUT_LINE(n);
  FOR i IN 1..10 LOOP
    FOR j IN 1..10 LOOP
      IF i * j = 12 THEN DBMS_OUTPUT.PUT_LINE(i || ' ' || j); GOTO out; END IF;
    END LOOP;
  END LOOP;
  <<out>>
  DBMS_OUTPUT.PUT_LINE('out');
END;)",
       R"(3
2 6
out)"},
      {R"(BEGIN
  FOR i IN 1..3 LOOP
    IF i = 2 THEN GOTO next; END IF;
    DBMS_OUTPUT.PUT_LINE(i);
    <<next>> NULL;
  END LOOP;
END;)",
       R"(1
3)"},
      {R"(BEGIN
  <<o>>
  FOR i IN 1..3 LOOP
    <<n>>
    FOR j IN 1..3 LOOP
      EXIT o WHEN i = 2 AND j = 2;
      CONTINUE o WHEN j = 3;
      DBMS_OUTPUT.PUT_LINE(i || j);
    END LOOP n;
  END LOOP o;
END;)",
       R"(11
12
21)"},
      {R"(DECLARE n NUMBER := 0; BEGIN
  WHILE TRUE LOOP n := n + 1; IF n = 3 THEN CONTINUE; END IF; EXIT WHEN n > 4; DBMS_OUTPUT.PUT(n); END LOOP;
  DBMS_OUTPUT.NEW_LINE;
  LOOP n := n - 1; IF n = 0 THEN EXIT; END IF; END LOOP;
  DBMS_OUTPUT.PUT_LINE(n);
END;)",
       R"(124
0)"},
      {R"(BEGIN
  EXIT;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00376: illegal EXIT/CONTINUE statement; it must appear inside a loop
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(DECLARE
  grade CHAR(1) := 'B';
BEGIN
  CASE grade
    WHEN 'A' THEN DBMS_OUTPUT.PUT_LINE('Excellent');
    WHEN 'B' THEN DBMS_OUTPUT.PUT_LINE('Very Good');
    ELSE DBMS_OUTPUT.PUT_LINE('No such grade');
  END CASE;
  CASE WHEN grade = 'A' THEN NULL; WHEN grade IN ('B', 'C') THEN DBMS_OUTPUT.PUT_LINE('b or c'); END CASE;
END;)",
       R"(Very Good
b or c)"},
      {R"(DECLARE n NUMBER := NULL; BEGIN
  IF n = 0 THEN DBMS_OUTPUT.PUT_LINE('zero'); ELSIF n <> 0 THEN DBMS_OUTPUT.PUT_LINE('nonzero'); ELSE DBMS_OUTPUT.PUT_LINE('unknown'); END IF;
  IF n NOT BETWEEN 1 AND 2 THEN DBMS_OUTPUT.PUT_LINE('x'); ELSE DBMS_OUTPUT.PUT_LINE('y'); END IF;
  IF 1 NOT IN (2, NULL) THEN DBMS_OUTPUT.PUT_LINE('x'); ELSE DBMS_OUTPUT.PUT_LINE('y'); END IF;
  IF 'abc' LIKE 'a%' AND 'a_c' LIKE 'a\_c' ESCAPE '\' THEN DBMS_OUTPUT.PUT_LINE('like'); END IF;
END;)",
       R"(unknown
y
y
like)"},
      {R"(BEGIN
  FOR i IN 1..5 LOOP
    CONTINUE WHEN MOD(i,2) = 0;
    DBMS_OUTPUT.PUT_LINE(i);
  END LOOP;
  RETURN;
  DBMS_OUTPUT.PUT_LINE('never');
END;)",
       R"(1
3
5)"},
      {R"(DECLARE
  lo PLS_INTEGER := 2147483646;
BEGIN
  FOR i IN lo..2147483647 LOOP DBMS_OUTPUT.PUT_LINE(i); END LOOP;
END;)",
       R"(2147483646
2147483647)"}}},
    {"realistic",
     {{R"(DECLARE
  TYPE t IS TABLE OF NUMBER INDEX BY PLS_INTEGER;
  a t; tmp NUMBER; s VARCHAR2(200);
BEGIN
  a(1) := 5; a(2) := 3; a(3) := 9; a(4) := 1; a(5) := 7;
  FOR i IN 1 .. a.COUNT - 1 LOOP
    FOR j IN 1 .. a.COUNT - i LOOP
      IF a(j) > a(j + 1) THEN tmp := a(j); a(j) := a(j + 1); a(j + 1) := tmp; END IF;
    END LOOP;
  END LOOP;
  FOR i IN 1 .. a.COUNT LOOP s := s || a(i) || ' '; END LOOP;
  DBMS_OUTPUT.PUT_LINE(RTRIM(s));
END;)",
       "1 3 5 7 9"},
      {R"(DECLARE
  n CONSTANT PLS_INTEGER := 30;
  TYPE flags IS TABLE OF BOOLEAN INDEX BY PLS_INTEGER;
  sieve flags; out VARCHAR2(100);
BEGIN
  FOR i IN 2 .. n LOOP sieve(i) := TRUE; END LOOP;
  FOR i IN 2 .. TRUNC(SQRT(n)) LOOP
    IF sieve(i) THEN
      DECLARE j PLS_INTEGER := i * i; BEGIN
        WHILE j <= n LOOP sieve(j) := FALSE; j := j + i; END LOOP;
      END;
    END IF;
  END LOOP;
  FOR i IN 2 .. n LOOP IF sieve(i) THEN out := out || i || ','; END IF; END LOOP;
  DBMS_OUTPUT.PUT_LINE(RTRIM(out, ','));
END;)",
       "2,3,5,7,11,13,17,19,23,29"},
      {R"(DECLARE
  s VARCHAR2(100) := 'The quick brown fox'; w VARCHAR2(20); p PLS_INTEGER; r VARCHAR2(100);
BEGIN
  WHILE LENGTH(s) > 0 LOOP
    p := INSTR(s, ' ');
    IF p = 0 THEN w := s; s := NULL; ELSE w := SUBSTR(s, 1, p - 1); s := SUBSTR(s, p + 1); END IF;
    r := w || CASE WHEN r IS NOT NULL THEN ' ' END || r;
  END LOOP;
  DBMS_OUTPUT.PUT_LINE(r);
  FOR i IN REVERSE 1 .. LENGTH(r) LOOP DBMS_OUTPUT.PUT(SUBSTR(r, i, 1)); END LOOP;
  DBMS_OUTPUT.NEW_LINE;
END;)",
       R"(fox brown quick The
ehT kciuq nworb xof)"},
      {R"(DECLARE
  FUNCTION gcd(a PLS_INTEGER, b PLS_INTEGER) RETURN PLS_INTEGER IS
  BEGIN
    IF b = 0 THEN RETURN a; ELSE RETURN gcd(b, MOD(a, b)); END IF;
  END gcd;
  PROCEDURE hanoi(n PLS_INTEGER, f VARCHAR2, t VARCHAR2, v VARCHAR2, moves IN OUT PLS_INTEGER) IS
  BEGIN
    IF n = 0 THEN RETURN; END IF;
    hanoi(n - 1, f, v, t, moves);
    moves := moves + 1;
    hanoi(n - 1, v, t, f, moves);
  END;
  m PLS_INTEGER := 0;
BEGIN
  DBMS_OUTPUT.PUT_LINE(gcd(84, 36));
  hanoi(5, 'A', 'C', 'B', m);
  DBMS_OUTPUT.PUT_LINE(m);
END;)",
       R"(12
31)"},
      {R"(DECLARE
  d DATE := DATE '2024-01-30';
BEGIN
  WHILE d <= DATE '2024-02-02' LOOP
    DBMS_OUTPUT.PUT_LINE(TO_CHAR(d, 'DY DD-MON') || CASE WHEN TO_CHAR(d, 'DY') IN ('SAT','SUN') THEN ' weekend' ELSE '' END);
    d := d + 1;
  END LOOP;
END;)",
       R"(TUE 30-JAN
WED 31-JAN
THU 01-FEB
FRI 02-FEB)"},
      {R"(DECLARE
  v_total NUMBER := 0; v_last worker.team_no%TYPE;
  CURSOR c IS SELECT team_no, name, pay FROM worker ORDER BY team_no, name;
BEGIN
  FOR r IN c LOOP
    IF v_last IS NULL OR v_last <> r.team_no THEN
      IF v_last IS NOT NULL THEN DBMS_OUTPUT.PUT_LINE('  total ' || TO_CHAR(v_total, 'FM99,990.00')); END IF;
      DBMS_OUTPUT.PUT_LINE('Dept ' || r.team_no);
      v_last := r.team_no; v_total := 0;
    END IF;
    v_total := v_total + r.pay;
  END LOOP;
  DBMS_OUTPUT.PUT_LINE('  total ' || TO_CHAR(v_total, 'FM99,990.00'));
END;)",
       R"(Dept 10
  total 8,750.00
Dept 20
  total 10,875.00
Dept 30
  total 9,400.00)"},
      {R"(DECLARE
  l_json VARCHAR2(4000); l_sep VARCHAR2(2);
BEGIN
  FOR r IN (SELECT team_no, title FROM team WHERE team_no <= 20 ORDER BY team_no) LOOP
    l_json := l_json || l_sep || '{"id":' || r.team_no || ',"name":"' || r.title || '"}';
    l_sep := ',';
  END LOOP;
  DBMS_OUTPUT.PUT_LINE('[' || l_json || ']');
END;)",
       R"([{"id":10,"name":"Archivists"},{"id":20,"name":"Scouting"}])"},
      {R"(DECLARE
  n NUMBER;
BEGIN
  SELECT COUNT(*), MAX(pay) INTO n, n FROM worker;
  MERGE INTO team d USING (SELECT 10 team_no, 'NEWNAME' title FROM dual UNION ALL SELECT 99, 'FRESH' FROM dual) s ON (d.team_no = s.team_no)
    WHEN MATCHED THEN UPDATE SET d.title = s.title WHEN NOT MATCHED THEN INSERT (team_no, title) VALUES (s.team_no, s.title);
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  ROLLBACK;
END;)",
       "2"},
      {R"(DECLARE
  v_id NUMBER := 20; team_no NUMBER := 10;
  v team.title%TYPE;
BEGIN
  SELECT title INTO v FROM team d WHERE d.team_no = v_id; DBMS_OUTPUT.PUT_LINE(v);
  UPDATE worker SET comm = NVL(comm, 0) + v_id WHERE job = 'seller' AND worker.team_no IN (SELECT team_no FROM team WHERE place = 'Lima');
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  ROLLBACK;
END;)",
       R"(Scouting
4)"},
      {R"(DECLARE
  TYPE stack_t IS TABLE OF NUMBER; st stack_t := stack_t();
  PROCEDURE push(n NUMBER) IS BEGIN st.EXTEND; st(st.LAST) := n; END;
  FUNCTION pop RETURN NUMBER IS n NUMBER; BEGIN n := st(st.LAST); st.TRIM; RETURN n; END;
  expr VARCHAR2(50) := '3 4 + 2 *'; tok VARCHAR2(10); i PLS_INTEGER := 1;
BEGIN
  LOOP
    tok := REGEXP_SUBSTR(expr, '\S+', 1, i);
    EXIT WHEN tok IS NULL;
    CASE tok
      WHEN '+' THEN push(pop + pop);
      WHEN '*' THEN push(pop() * pop());
      ELSE push(TO_NUMBER(tok));
    END CASE;
    i := i + 1;
  END LOOP;
  DBMS_OUTPUT.PUT_LINE(pop);
END;)",
       "14"},
      {R"(DECLARE
  c INTEGER; 
BEGIN
  c := DBMS_SQL.OPEN_CURSOR;
END;)",
       R"(ORA-06550: line 4, column 8:
PLS-00201: identifier 'DBMS_SQL.OPEN_CURSOR' must be declared
...)"},
      {R"(DECLARE
  x NUMBER := 1;
BEGIN
  IF x = 1 THEN
    NULL; -- nothing
  ELSE
    NULL;
  END IF;
  BEGIN NULL; END;
  <<lbl>> BEGIN NULL; END lbl;
  FOR i IN 1..0 LOOP NULL; END LOOP;
END;)",
       ""},
      {R"(BEGIN
  INSERT INTO team (team_no, title) SELECT 50 + LEVEL, 'D' || LEVEL FROM dual CONNECT BY LEVEL <= 3;
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  DELETE FROM team WHERE team_no > 50;
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  COMMIT;
END;)",
       R"(3
3)"},
      {R"(DECLARE
  v VARCHAR2(10);
BEGIN
  v := TO_CHAR(SYSDATE, 'YYYY-MM-DD HH24:MI');
EXCEPTION
  WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('VE ' || SQLCODE || ' ' || SUBSTR(SQLERRM, 1, 60));
END;)",
       "VE -6502 ORA-06502: PL/SQL: numeric or value error: character string"},
      {R"(DECLARE
  a NUMBER := 10; b NUMBER := 3;
BEGIN
  DBMS_OUTPUT.PUT_LINE(a + b || ' ' || (a - b) || ' ' || a * b || ' ' || ROUND(a / b, 3) || ' ' || MOD(a, b) || ' ' || a ** b);
  DBMS_OUTPUT.PUT_LINE(TO_CHAR(a / b, 'FM990.000') || ' ' || TRUNC(a / b) || ' ' || CEIL(a / b) || ' ' || -a);
  DBMS_OUTPUT.PUT_LINE(1e2 || ' ' || .5 || ' ' || 0.50 || ' ' || -0.25 || ' ' || 100.0 || ' ' || 1/4 || ' ' || 1e-3);
END;)",
       R"(13 7 30 3.333 1 1000
3.333 3 4 -10
100 .5 .5 -.25 100 .25 .001)"},
      {"CREATE TABLE accounts (id NUMBER PRIMARY KEY, balance NUMBER(10,2) CHECK (balance >= 0))", ""},
      {"INSERT INTO accounts VALUES (1, 100)", ""},
      {"INSERT INTO accounts VALUES (2, 50)", ""},
      {R"(CREATE OR REPLACE PROCEDURE transfer(p_from NUMBER, p_to NUMBER, p_amount NUMBER) IS
  insufficient EXCEPTION;
  PRAGMA EXCEPTION_INIT(insufficient, -2290);
  v_bal accounts.balance%TYPE;
BEGIN
  SELECT balance INTO v_bal FROM accounts WHERE id = p_from FOR UPDATE;
  UPDATE accounts SET balance = balance - p_amount WHERE id = p_from;
  UPDATE accounts SET balance = balance + p_amount WHERE id = p_to;
  IF SQL%NOTFOUND THEN RAISE_APPLICATION_ERROR(-20010, 'no target ' || p_to); END IF;
EXCEPTION
  WHEN insufficient THEN RAISE_APPLICATION_ERROR(-20011, 'insufficient funds: ' || v_bal);
  WHEN NO_DATA_FOUND THEN RAISE_APPLICATION_ERROR(-20012, 'no source ' || p_from);
END;)",
       ""},
      {"BEGIN transfer(1, 2, 30); END;", ""},
      {"SELECT id, balance FROM accounts ORDER BY id", R"(1,70
2,80)"},
      {"BEGIN transfer(1, 2, 1000); END;",
       R"(ORA-20011: insufficient funds: 70
ORA-06512: at "SCOTT.TRANSFER", line 11
ORA-06512: at line 1)"},
      {"BEGIN transfer(9, 2, 1); EXCEPTION WHEN OTHERS THEN DBMS_OUTPUT.PUT_LINE(SQLERRM); END;",
       "ORA-20012: no source 9"},
      {"BEGIN transfer(1, 9, 1); END;",
       R"(ORA-20010: no target 9
ORA-06512: at "SCOTT.TRANSFER", line 9
ORA-06512: at line 1)"},
      {"SELECT id, balance FROM accounts ORDER BY id", R"(1,70
2,80)"},
      {R"(BEGIN
  FOR i IN 1..3 LOOP
    BEGIN
      INSERT INTO accounts VALUES (i, i * 10);
      DBMS_OUTPUT.PUT_LINE('inserted ' || i);
    EXCEPTION
      WHEN DUP_VAL_ON_INDEX THEN DBMS_OUTPUT.PUT_LINE('duplicate ' || i);
    END;
  END LOOP;
END;)",
       R"(duplicate 1
duplicate 2
inserted 3)"},
      {R"(DECLARE
  r accounts%ROWTYPE;
  TYPE tab IS TABLE OF accounts%ROWTYPE INDEX BY PLS_INTEGER; t tab;
BEGIN
  SELECT * BULK COLLECT INTO t FROM accounts ORDER BY id;
  FORALL i IN 1..t.COUNT UPDATE accounts SET balance = t(i).balance + 1 WHERE id = t(i).id;
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  r.id := 7; r.balance := 1; t(t.COUNT + 1) := r;
  INSERT INTO accounts VALUES t(4);
  FORALL i IN 4..4 DELETE FROM accounts WHERE id = t(i).id;
END;)",
       "3"},
      {R"(DECLARE
  CURSOR c IS SELECT id, balance FROM accounts FOR UPDATE;
BEGIN
  FOR r IN c LOOP
    IF r.id = 3 THEN DELETE FROM accounts WHERE CURRENT OF c; ELSE UPDATE accounts SET balance = 0 WHERE CURRENT OF c; END IF;
  END LOOP;
END;)",
       ""},
      {"SELECT COUNT(*), SUM(balance) FROM accounts", "2,0"},
      {R"(DECLARE e1 EXCEPTION; PRAGMA EXCEPTION_INIT(e1, -54); BEGIN RAISE e1; EXCEPTION WHEN e1 THEN DBMS_OUTPUT.PUT_LINE(SQLERRM); END;)",
       "ORA-00054: resource busy and acquire with NOWAIT specified or timeout expired"},
      {R"(DECLARE
  PROCEDURE check_num(s VARCHAR2) IS n NUMBER;
  BEGIN n := s; DBMS_OUTPUT.PUT_LINE(s || ' ok'); EXCEPTION WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE(s || ' bad'); END;
BEGIN check_num('12'); check_num('1.5'); check_num('abc'); check_num(''); check_num('1e3'); END;)",
       R"(12 ok
1.5 ok
abc bad
 ok
1e3 ok)"},
      {R"(DECLARE
  l NUMBER := 5;
  PROCEDURE p(x IN OUT NOCOPY NUMBER) IS BEGIN x := x * 2; END;
BEGIN p(l); DBMS_OUTPUT.PUT_LINE(l); END;)",
       "10"},
      {R"(DECLARE
  TYPE assoc IS TABLE OF PLS_INTEGER INDEX BY VARCHAR2(1); cnt assoc; s VARCHAR2(30) := 'mississippi'; ch VARCHAR2(1);
BEGIN
  FOR i IN 1..LENGTH(s) LOOP
    ch := SUBSTR(s, i, 1);
    IF cnt.EXISTS(ch) THEN cnt(ch) := cnt(ch) + 1; ELSE cnt(ch) := 1; END IF;
  END LOOP;
  ch := cnt.FIRST;
  WHILE ch IS NOT NULL LOOP DBMS_OUTPUT.PUT(ch || cnt(ch) || ' '); ch := cnt.NEXT(ch); END LOOP;
  DBMS_OUTPUT.NEW_LINE;
END;)",
       "i4 m1 p2 s4"},
      {R"(DECLARE b BOOLEAN := TRUE; v VARCHAR2(5); BEGIN
  v := CASE WHEN b THEN 'yes' ELSE 'no' END; DBMS_OUTPUT.PUT_LINE(v);
  b := v = 'no' OR v LIKE 'y%'; DBMS_OUTPUT.PUT_LINE(CASE b WHEN TRUE THEN 'T' WHEN FALSE THEN 'F' ELSE 'N' END);
  b := NOT b; IF NOT b THEN DBMS_OUTPUT.PUT_LINE('neg'); END IF;
END;)",
       R"(yes
T
neg)"},
      {"CREATE OR REPLACE VIEW v_worker AS SELECT id, name FROM worker", ""},
      {R"(DECLARE r v_worker%ROWTYPE; n v_worker.name%TYPE; BEGIN SELECT * INTO r FROM v_worker WHERE id = 7839; n := r.name; DBMS_OUTPUT.PUT_LINE(n); END;)",
       "Kim"},
      {"DECLARE x VARCHAR2(10) := 'a'; n NUMBER := 1; BEGIN x := x + n; END;",
       R"(ORA-06502: PL/SQL: numeric or value error: character to number conversion error
ORA-06512: at line 1)"},
      {"DECLARE n PLS_INTEGER; BEGIN n := 3000000000; END;",
       R"(ORA-01426: numeric overflow
ORA-06512: at line 1)"},
      {"DECLARE n NUMBER(38) := 12345678901234567; BEGIN DBMS_OUTPUT.PUT_LINE(n + 1); END;", "12345678901234568"},
      {R"(DECLARE v VARCHAR2(20); BEGIN SELECT name INTO v FROM worker WHERE id = 7839 AND ROWNUM = 1; DBMS_OUTPUT.PUT_LINE(INITCAP(v)); END;)",
       "Kim"},
      {R"(DECLARE PROCEDURE p(a NUMBER, b VARCHAR2 := 'x', c DATE DEFAULT SYSDATE) IS BEGIN DBMS_OUTPUT.PUT_LINE(a || b); END; BEGIN p(1); p(2, c => NULL); p(b => 'z', a => 3); p(4, 'q', SYSDATE); END;)",
       R"(1x
2x
3z
4q)"},
      {"DECLARE PROCEDURE p(a NUMBER) IS BEGIN NULL; END; BEGIN p(1, 2); END;",
       R"(ORA-06550: line 1, column 57:
PLS-00306: wrong number or types of arguments in call to 'P'
ORA-06550: line 1, column 57:
PL/SQL: Statement ignored)"},
      {"DECLARE PROCEDURE p(a NUMBER) IS BEGIN NULL; END; BEGIN p(zz => 2); END;",
       R"(ORA-06550: line 1, column 57:
PLS-00306: wrong number or types of arguments in call to 'P'
ORA-06550: line 1, column 57:
PL/SQL: Statement ignored)"}}},
};

using BlockPrograms = BlockCases;

TEST_P(BlockPrograms, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockPrograms, ::testing::ValuesIn(groups), name_of_group);

} // namespace
