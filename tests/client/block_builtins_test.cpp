#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"dynamic",
     {{R"(DECLARE n NUMBER; v VARCHAR2(20); r team%ROWTYPE; BEGIN
  EXECUTE IMMEDIATE 'SELECT COUNT(*) FROM worker' INTO n; DBMS_OUTPUT.PUT_LINE(n);
  EXECUTE IMMEDIATE 'SELECT name, pay FROM worker WHERE id = :1' INTO v, n USING 7839; DBMS_OUTPUT.PUT_LINE(v || n);
  EXECUTE IMMEDIATE 'SELECT * FROM team WHERE team_no = :x' INTO r USING 20; DBMS_OUTPUT.PUT_LINE(r.place);
  EXECUTE IMMEDIATE 'UPDATE worker SET pay = pay + :a WHERE team_no = :b' USING 1, 10; DBMS_OUTPUT.PUT_LINE(SQL%ROWCOUNT);
  EXECUTE IMMEDIATE 'UPDATE worker SET pay = 1 WHERE id = :a RETURNING name INTO :b' USING 7369 RETURNING INTO v; DBMS_OUTPUT.PUT_LINE(v);
  EXECUTE IMMEDIATE 'BEGIN :x := :y * 2; END;' USING OUT n, 21; DBMS_OUTPUT.PUT_LINE(n);
  n := 5; EXECUTE IMMEDIATE 'BEGIN :x := :x + 1; END;' USING IN OUT n; DBMS_OUTPUT.PUT_LINE(n);
  EXECUTE IMMEDIATE 'DECLARE z NUMBER := 3; BEGIN DBMS_OUTPUT.PUT_LINE(z); END;';
  ROLLBACK;
END;)",
       R"(14
Kim5000
Rome
3
Sol
42
6
3)"},
      {R"(DECLARE TYPE t IS TABLE OF VARCHAR2(20); a t; BEGIN
  EXECUTE IMMEDIATE 'SELECT name FROM worker WHERE team_no = :d ORDER BY name' BULK COLLECT INTO a USING 10;
  FOR i IN 1..a.COUNT LOOP DBMS_OUTPUT.PUT_LINE(a(i)); END LOOP;
END;)",
       R"(Cora
Kim
Mia)"},
      {R"(BEGIN
  EXECUTE IMMEDIATE 'CREATE TABLE dyn (a NUMBER)';
  EXECUTE IMMEDIATE 'INSERT INTO dyn VALUES (:1)' USING 5;
  FOR i IN 1..3 LOOP EXECUTE IMMEDIATE 'INSERT INTO dyn VALUES (' || i || ')'; END LOOP;
  EXECUTE IMMEDIATE 'DROP TABLE dyn';
END;)",
       ""},
      {R"(DECLARE n NUMBER; BEGIN
  EXECUTE IMMEDIATE 'SELECT id FROM worker WHERE 1 = 2' INTO n;
EXCEPTION WHEN NO_DATA_FOUND THEN DBMS_OUTPUT.PUT_LINE('none');
END;)",
       "none"},
      {R"(DECLARE n NUMBER; BEGIN
  EXECUTE IMMEDIATE 'SELECT id FROM worker' INTO n;
END;)",
       R"(ORA-01422: exact fetch returns more than requested number of rows
ORA-06512: at line 2)"},
      {R"(BEGIN
  EXECUTE IMMEDIATE 'DROP TABLE does_not_exist';
EXCEPTION WHEN OTHERS THEN IF SQLCODE != -942 THEN RAISE; END IF; DBMS_OUTPUT.PUT_LINE('ignored');
END;)",
       "ignored"},
      {R"(BEGIN
  EXECUTE IMMEDIATE 'BEGIN nosuch; END;';
END;)",
       R"(ORA-06550: line 1, column 7:
PLS-00201: identifier 'NOSUCH' must be declared
ORA-06550: line 1, column 7:
PL/SQL: Statement ignored
ORA-06512: at line 2)"},
      {R"(BEGIN
  EXECUTE IMMEDIATE 'SELECT 1 FROM dual;';
END;)",
       R"(ORA-00911: invalid character
ORA-06512: at line 2)"},
      {R"(BEGIN
  EXECUTE IMMEDIATE NULL;
END;)",
       R"(ORA-06535: statement string in EXECUTE IMMEDIATE is NULL or 0 length
ORA-06512: at line 2)"},
      {R"(DECLARE c SYS_REFCURSOR; TYPE rt IS RECORD (a VARCHAR2(20), b NUMBER); r rt; q VARCHAR2(200) := 'SELECT name, pay FROM worker WHERE team_no = :d AND pay > :s ORDER BY pay'; BEGIN
  OPEN c FOR q USING 30, 1300;
  LOOP FETCH c INTO r; EXIT WHEN c%NOTFOUND; DBMS_OUTPUT.PUT_LINE(r.a || ' ' || r.b); END LOOP;
  DBMS_OUTPUT.PUT_LINE(c%ROWCOUNT);
  CLOSE c;
END;)",
       R"(Tom 1500
Alma 1600
Bea 2850
3)"},
      {R"(DECLARE n NUMBER; BEGIN
  EXECUTE IMMEDIATE 'INSERT INTO team VALUES (:a, :b, :c) RETURNING team_no INTO :d' USING 88, 'x', 'y', OUT n;
  DBMS_OUTPUT.PUT_LINE(n); ROLLBACK;
END;)",
       "88"}}},
    {"output_and_transactions",
     {{R"(BEGIN
  DBMS_OUTPUT.PUT('a'); DBMS_OUTPUT.PUT('b'); DBMS_OUTPUT.NEW_LINE; DBMS_OUTPUT.PUT_LINE(''); DBMS_OUTPUT.PUT_LINE('c'); DBMS_OUTPUT.PUT_LINE(NULL); DBMS_OUTPUT.PUT_LINE(12.50); DBMS_OUTPUT.PUT_LINE(DATE '2020-02-03');
END;)",
       R"(ab

c

12.5
03-FEB-20)"},
      {R"(BEGIN
  DBMS_OUTPUT.DISABLE; DBMS_OUTPUT.PUT_LINE('lost'); DBMS_OUTPUT.ENABLE(1000000); DBMS_OUTPUT.PUT_LINE('kept'); DBMS_OUTPUT.ENABLE(buffer_size => NULL);
END;)",
       "kept"},
      {R"(DECLARE l DBMS_OUTPUT.CHARARR; n INTEGER := 10; s VARCHAR2(100); st INTEGER; BEGIN
  DBMS_OUTPUT.PUT_LINE('1'); DBMS_OUTPUT.PUT_LINE('2');DBMS_OUTPUT.PUT_LINE('3');
  DBMS_OUTPUT.GET_LINE(s, st);
  DBMS_OUTPUT.GET_LINES(l, n);
  DBMS_OUTPUT.PUT_LINE(s || st || n || l(1) || l(2));
END;)",
       "10223"},
      {R"(BEGIN
  INSERT INTO team VALUES (60, 'a', 'b');
  SAVEPOINT sp;
  INSERT INTO team VALUES (61, 'a', 'b');
  ROLLBACK TO sp;
  COMMIT;
END;)",
       ""},
      {"SELECT COUNT(*) FROM team WHERE team_no >= 60", "1"},
      {R"(BEGIN
  ROLLBACK TO nosuch;
END;)",
       R"(ORA-01086: savepoint 'NOSUCH' never established in this session or is invalid
ORA-06512: at line 2)"},
      {R"(CREATE OR REPLACE PROCEDURE auto_log(m VARCHAR2) IS
  PRAGMA AUTONOMOUS_TRANSACTION;
BEGIN
  INSERT INTO team VALUES (70, m, NULL);
  COMMIT;
END;)",
       ""},
      {"BEGIN auto_log('x'); ROLLBACK; END;", ""},
      {"SELECT COUNT(*) FROM team WHERE team_no = 70", "1"},
      {R"(CREATE OR REPLACE PROCEDURE auto_bad IS
  PRAGMA AUTONOMOUS_TRANSACTION;
BEGIN
  INSERT INTO team VALUES (71, 'x', NULL);
END;)",
       ""},
      {"BEGIN auto_bad; END;",
       R"(ORA-06519: active autonomous transaction detected and rolled back
ORA-06512: at "SCOTT.AUTO_BAD", line 4
ORA-06512: at line 1)"},
      {"SELECT COUNT(*) FROM team WHERE team_no = 71", "0"}}},
    {"builtins",
     {{R"(DECLARE a NUMBER; s VARCHAR2(10); BEGIN
  DBMS_RANDOM.SEED(42);
  a := DBMS_RANDOM.VALUE; IF a >= 0 AND a < 1 THEN DBMS_OUTPUT.PUT_LINE('ok1'); END IF;
  a := DBMS_RANDOM.VALUE(1, 10); IF a >= 1 AND a < 10 THEN DBMS_OUTPUT.PUT_LINE('ok2'); END IF;
  s := DBMS_RANDOM.STRING('U', 5); IF LENGTH(s) = 5 AND s = UPPER(s) THEN DBMS_OUTPUT.PUT_LINE('ok3'); END IF;
  a := TRUNC(DBMS_RANDOM.VALUE(1, 7)); IF a BETWEEN 1 AND 6 THEN DBMS_OUTPUT.PUT_LINE('ok4'); END IF;
  DBMS_RANDOM.INITIALIZE(1); a := DBMS_RANDOM.RANDOM; DBMS_RANDOM.TERMINATE;
  a := DBMS_RANDOM.NORMAL;
END;)",
       R"(ok1
ok2
ok3
ok4)"},
      {R"(SELECT COUNT(*) FROM (SELECT DBMS_RANDOM.VALUE v FROM worker ORDER BY DBMS_RANDOM.VALUE) WHERE v < 1)", "14"},
      {R"(DECLARE c CLOB; b BLOB; n INTEGER; v VARCHAR2(100); BEGIN
  c := 'hello '; c := c || 'world';
  DBMS_OUTPUT.PUT_LINE(DBMS_LOB.GETLENGTH(c) || DBMS_LOB.SUBSTR(c, 5, 7) || DBMS_LOB.INSTR(c, 'o') || LENGTH(c) || SUBSTR(c, 1, 3));
  DBMS_LOB.CREATETEMPORARY(c, TRUE);
  DBMS_LOB.APPEND(c, 'abc'); DBMS_LOB.WRITEAPPEND(buffer => 'defg', lob_loc => c, amount => 3);
  DBMS_OUTPUT.PUT_LINE(c);
  DBMS_LOB.TRIM(c, 2); DBMS_OUTPUT.PUT_LINE(c);
  DBMS_LOB.FREETEMPORARY(c);
END;)",
       R"(11world511hel
abcdef
ab)"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(REGEXP_REPLACE('a1b2', '[0-9]', '#') || REGEXP_SUBSTR('key=val', '[^=]+', 1, 2) || REGEXP_INSTR('abc', 'c') || REGEXP_COUNT('aaa', 'a'));
  IF REGEXP_LIKE('abc@x.com', '^[^@]+@[^@]+$') THEN DBMS_OUTPUT.PUT_LINE('mail'); END IF;
END;)",
       R"(a#b#val33
mail)"},
      {R"(DECLARE n NUMBER; BEGIN
  n := emp_seq_x.NEXTVAL;
END;)",
       R"(ORA-06550: line 2, column 8:
PLS-00201: identifier 'EMP_SEQ_X.NEXTVAL' must be declared
...)"},
      {"CREATE SEQUENCE sq START WITH 5", ""},
      {"DECLARE n NUMBER; BEGIN n := sq.NEXTVAL; DBMS_OUTPUT.PUT_LINE(n || sq.CURRVAL || sq.NEXTVAL); END;", "556"},
      {R"(DECLARE n NUMBER; BEGIN
  n := 1;
  $IF TRUE $THEN n := 2; $END
END;)",
       "ORA-06550..."}}},
};

using BlockBuiltins = BlockCases;

TEST_P(BlockBuiltins, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockBuiltins, ::testing::ValuesIn(groups), name_of_group);

} // namespace
