#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"cursors",
     {{R"(DECLARE
  CURSOR c(p NUMBER, q NUMBER DEFAULT 100) IS SELECT name FROM worker WHERE team_no = p AND pay > q ORDER BY id;
  v worker.name%TYPE;
BEGIN
  OPEN c(20);
  LOOP FETCH c INTO v; EXIT WHEN c%NOTFOUND; DBMS_OUTPUT.PUT_LINE(c%ROWCOUNT || ' ' || v); END LOOP;
  DBMS_OUTPUT.PUT_LINE('total ' || c%ROWCOUNT);
  CLOSE c;
  FOR r IN c(10, q => 2000) LOOP DBMS_OUTPUT.PUT_LINE(r.name); END LOOP;
END;)",
       R"(1 Sol
2 Jon
3 Sam
4 Ada
5 Finn
total 5
Cora
Kim)"},
      {R"(DECLARE CURSOR c IS SELECT * FROM team; r c%ROWTYPE; BEGIN
  IF NOT c%ISOPEN THEN OPEN c; END IF;
  IF c%FOUND IS NULL THEN DBMS_OUTPUT.PUT_LINE('null before fetch'); END IF;
  FETCH c INTO r;
  IF c%FOUND THEN DBMS_OUTPUT.PUT_LINE(r.title); END IF;
  CLOSE c;
  CLOSE c;
END;)",
       R"(null before fetch
Archivists
ORA-01001: invalid cursor
ORA-06512: at line 7)"},
      {R"(DECLARE CURSOR c IS SELECT * FROM team; BEGIN
  OPEN c; OPEN c;
END;)",
       R"(ORA-06511: PL/SQL: cursor already open
ORA-06512: at line 2)"},
      {R"(DECLARE CURSOR c IS SELECT * FROM team; BEGIN
  IF c%FOUND THEN NULL; END IF;
END;)",
       R"(ORA-01001: invalid cursor
ORA-06512: at line 2)"},
      {R"(BEGIN
  FOR r IN (SELECT d.title, COUNT(e.id) AS cnt FROM team d LEFT JOIN worker e ON e.team_no = d.team_no GROUP BY d.title ORDER BY 1) LOOP
    DBMS_OUTPUT.PUT_LINE(RPAD(r.title, 12, '.') || r.cnt);
  END LOOP;
END;)",
       R"(Archivists..3
Organisers..0
Scouting....5
Shops.......6)"},
      {R"(DECLARE
  TYPE rc IS REF CURSOR RETURN team%ROWTYPE;
  c rc; r team%ROWTYPE;
  w SYS_REFCURSOR; n NUMBER;
BEGIN
  OPEN c FOR SELECT * FROM team ORDER BY team_no;
  FETCH c INTO r; DBMS_OUTPUT.PUT_LINE(r.title); CLOSE c;
  OPEN w FOR 'SELECT COUNT(*) FROM worker WHERE team_no = :d' USING 30;
  FETCH w INTO n; DBMS_OUTPUT.PUT_LINE(n); CLOSE w;
END;)",
       R"(Archivists
6)"},
      {R"(DECLARE
  CURSOR c IS SELECT id, pay FROM worker WHERE team_no = 10 FOR UPDATE OF pay;
BEGIN
  FOR r IN c LOOP
    UPDATE worker SET pay = r.pay + 1 WHERE CURRENT OF c;
  END LOOP;
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  ROLLBACK;
END;)",
       "1"},
      {R"(DECLARE
  CURSOR c IS SELECT id FROM worker WHERE team_no = 10 FOR UPDATE;
  n NUMBER;
BEGIN
  OPEN c;
  FETCH c INTO n;
  COMMIT;
  FETCH c INTO n;
END;)",
       R"(ORA-01002: fetch out of sequence
ORA-06512: at line 8)"},
      {R"(DECLARE
  TYPE names IS TABLE OF worker.name%TYPE;
  CURSOR c IS SELECT name FROM worker ORDER BY name;
  n names; k NUMBER := 0;
BEGIN
  OPEN c;
  LOOP
    FETCH c BULK COLLECT INTO n LIMIT 5;
    EXIT WHEN n.COUNT = 0;
    k := k + 1;
    DBMS_OUTPUT.PUT_LINE(k || ': ' || n.COUNT || ' ' || n(1));
  END LOOP;
  CLOSE c;
END;)",
       R"(1: 5 Ada
2: 5 Jan
3: 4 Sam)"},
      {R"(DECLARE
  TYPE workers IS TABLE OF worker%ROWTYPE INDEX BY PLS_INTEGER;
  e workers;
BEGIN
  SELECT * BULK COLLECT INTO e FROM worker WHERE team_no = 10 ORDER BY id;
  FOR i IN 1..e.COUNT LOOP DBMS_OUTPUT.PUT_LINE(i || e(i).name || e(i).pay); END LOOP;
  SELECT * BULK COLLECT INTO e FROM worker WHERE team_no = 99;
  DBMS_OUTPUT.PUT_LINE(e.COUNT);
END;)",
       R"(1Cora2450
2Kim5000
3Mia1300
0)"},
      {R"(DECLARE n NUMBER; v VARCHAR2(20); BEGIN
  DELETE FROM worker WHERE id = 7369 RETURNING pay, name INTO n, v;
  DBMS_OUTPUT.PUT_LINE(n || v || SQL%ROWCOUNT);
  IF SQL%FOUND THEN DBMS_OUTPUT.PUT_LINE('found'); END IF;
  UPDATE worker SET pay = 1 WHERE 1 = 2;
  IF SQL%NOTFOUND THEN DBMS_OUTPUT.PUT_LINE('notfound ' || SQL%ROWCOUNT); END IF;
  ROLLBACK;
END;)",
       R"(800Sol1
found
notfound 0)"},
      {R"(DECLARE
  TYPE t IS TABLE OF NUMBER; ids t; sals t;
BEGIN
  UPDATE worker SET pay = pay * 2 WHERE team_no = 10 RETURNING id, pay BULK COLLECT INTO ids, sals;
  FOR i IN 1..ids.COUNT LOOP DBMS_OUTPUT.PUT_LINE(ids(i) || '=' || sals(i)); END LOOP;
  ROLLBACK;
END;)",
       R"(7782=4900
7839=10000
7934=2600)"},
      {"CREATE TABLE tgt (id NUMBER PRIMARY KEY, v VARCHAR2(3))", ""},
      {R"(DECLARE
  TYPE n_t IS TABLE OF NUMBER INDEX BY PLS_INTEGER;
  ids n_t; errs NUMBER;
  dml_errors EXCEPTION; PRAGMA EXCEPTION_INIT(dml_errors, -24381);
BEGIN
  ids(1) := 1; ids(2) := 1; ids(3) := 2; ids(4) := 2; ids(5) := 3;
  FORALL i IN 1..5 SAVE EXCEPTIONS INSERT INTO tgt VALUES (ids(i), 'x');
EXCEPTION WHEN dml_errors THEN
  errs := SQL%BULK_EXCEPTIONS.COUNT;
  DBMS_OUTPUT.PUT_LINE(errs || ' ' || SQLCODE);
  FOR i IN 1..errs LOOP
    DBMS_OUTPUT.PUT_LINE(SQL%BULK_EXCEPTIONS(i).ERROR_INDEX || ': ' || SQLERRM(-SQL%BULK_EXCEPTIONS(i).ERROR_CODE));
  END LOOP;
END;)",
       R"(2 -24381
2: ORA-00001: unique constraint (.) violated
4: ORA-00001: unique constraint (.) violated)"},
      {"SELECT COUNT(*) FROM tgt", "3"},
      {R"(DECLARE
  TYPE n_t IS TABLE OF NUMBER INDEX BY PLS_INTEGER;
  ids n_t;
BEGIN
  DELETE FROM tgt;
  ids(2) := 20; ids(5) := 50; ids(9) := 90;
  FORALL i IN INDICES OF ids INSERT INTO tgt VALUES (ids(i), 'y');
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT || ' ' || SQL%BULK_ROWCOUNT(5));
  FORALL i IN INDICES OF ids BETWEEN 3 AND 9 UPDATE tgt SET v = 'z' WHERE id = ids(i);
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
END;)",
       R"(3 1
2)"},
      {R"(DECLARE
  TYPE n_t IS TABLE OF NUMBER;
  ids n_t := n_t(1, 1);
BEGIN
  DELETE FROM tgt;
  FORALL i IN 1..2 INSERT INTO tgt VALUES (ids(i), 'q');
EXCEPTION WHEN DUP_VAL_ON_INDEX THEN
  DBMS_OUTPUT.PUT_LINE('dup ' || SQL%ROWCOUNT);
END;)",
       "dup 1"},
      {R"(DECLARE
  TYPE vt IS TABLE OF PLS_INTEGER INDEX BY PLS_INTEGER;
  TYPE n_t IS TABLE OF NUMBER;
  ids n_t := n_t(100, 200, 300); p vt;
BEGIN
  p(1) := 3; p(2) := 1;
  FORALL i IN VALUES OF p INSERT INTO tgt VALUES (ids(i), 'v');
  DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
END;)",
       "2"},
      {"SELECT id FROM tgt WHERE v = 'v' ORDER BY id", R"(100
300)"},
      {R"(CREATE OR REPLACE PROCEDURE get_workers(d NUMBER, c OUT SYS_REFCURSOR) IS
BEGIN
  OPEN c FOR SELECT name FROM worker WHERE team_no = d ORDER BY name;
END;)",
       ""},
      {R"(DECLARE c SYS_REFCURSOR; v VARCHAR2(20); BEGIN
  get_workers(10, c);
  LOOP FETCH c INTO v; EXIT WHEN c%NOTFOUND; DBMS_OUTPUT.PUT_LINE(v); END LOOP;
  CLOSE c;
END;)",
       R"(Cora
Kim
Mia)"},
      {R"(CREATE OR REPLACE FUNCTION workers_of(d NUMBER) RETURN SYS_REFCURSOR IS c SYS_REFCURSOR;
BEGIN
  OPEN c FOR SELECT name, pay FROM worker WHERE team_no = d ORDER BY name;
  RETURN c;
END;)",
       ""},
      {R"(DECLARE c SYS_REFCURSOR := workers_of(10); v VARCHAR2(20); s NUMBER; BEGIN
  FETCH c INTO v, s; DBMS_OUTPUT.PUT_LINE(v || s);
  FETCH c INTO v; 
END;)",
       R"(Cora2450
ORA-06504: PL/SQL: Return types of Result Set variables or query do not match
ORA-06512: at line 3)"},
      {R"(DECLARE
  CURSOR c IS SELECT name, pay FROM worker ORDER BY pay DESC;
  v VARCHAR2(20);
BEGIN
  OPEN c; FETCH c INTO v;
END;)",
       R"(ORA-06550: line 5, column 11:
PLS-00394: wrong number of values in the INTO list of a FETCH statement
ORA-06550: line 5, column 11:
PL/SQL: SQL Statement ignored)"},
      {R"(DECLARE
  CURSOR c1 IS SELECT team_no, title FROM team ORDER BY team_no;
  CURSOR c2(d NUMBER) IS SELECT name FROM worker WHERE team_no = d ORDER BY name;
BEGIN
  FOR d IN c1 LOOP
    DBMS_OUTPUT.PUT_LINE(d.title);
    FOR e IN c2(d.team_no) LOOP
      DBMS_OUTPUT.PUT_LINE('  ' || c2%ROWCOUNT || '. ' || e.name);
      EXIT WHEN c2%ROWCOUNT >= 2;
    END LOOP;
  END LOOP;
END;)",
       R"(Archivists
  1. Cora
  2. Kim
Scouting
  1. Ada
  2. Finn
Shops
  1. Alma
  2. Bea
Organisers)"},
      {R"(BEGIN
  FOR r IN (SELECT LEVEL AS n, LEVEL * LEVEL sq FROM dual CONNECT BY LEVEL <= 3) LOOP
    DBMS_OUTPUT.PUT_LINE(r.n || ':' || r.sq);
  END LOOP;
END;)",
       R"(1:1
2:4
3:9)"},
      {R"(DECLARE
  s VARCHAR2(50) := 'a,b,,c'; 
BEGIN
  FOR r IN (SELECT REGEXP_SUBSTR(s, '[^,]+', 1, LEVEL) t FROM dual CONNECT BY REGEXP_SUBSTR(s, '[^,]+', 1, LEVEL) IS NOT NULL) LOOP
    DBMS_OUTPUT.PUT_LINE(r.t);
  END LOOP;
END;)",
       R"(a
b
c)"},
      {R"(DECLARE
  CURSOR c RETURN team%ROWTYPE IS SELECT * FROM team WHERE team_no = 20;
  r c%ROWTYPE;
BEGIN
  OPEN c; FETCH c INTO r; CLOSE c; DBMS_OUTPUT.PUT_LINE(r.place);
END;)",
       "Rome"}}},
};

using BlockCursors = BlockCases;

TEST_P(BlockCursors, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockCursors, ::testing::ValuesIn(groups), name_of_group);

} // namespace
