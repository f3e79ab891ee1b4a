#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"triggers",
     {{"CREATE TABLE aud (id NUMBER GENERATED ALWAYS AS IDENTITY, what VARCHAR2(100))", ""},
      {"CREATE TABLE t1 (id NUMBER PRIMARY KEY, name VARCHAR2(20), upd DATE)", ""},
      {"CREATE SEQUENCE t1_seq", ""},
      {R"(CREATE OR REPLACE TRIGGER t1_bi BEFORE INSERT ON t1 FOR EACH ROW
BEGIN
  IF :NEW.id IS NULL THEN SELECT t1_seq.NEXTVAL INTO :NEW.id FROM dual; END IF;
  :NEW.name := UPPER(:NEW.name);
END;)",
       ""},
      {R"(CREATE OR REPLACE TRIGGER t1_aiud AFTER INSERT OR UPDATE OR DELETE ON t1 FOR EACH ROW
DECLARE v VARCHAR2(10);
BEGIN
  v := CASE WHEN INSERTING THEN 'I' WHEN UPDATING THEN 'U' ELSE 'D' END;
  INSERT INTO aud (what) VALUES (v || ':' || :OLD.name || '>' || :NEW.name);
END;)",
       ""},
      {"INSERT INTO t1 (name) VALUES ('abc')", ""},
      {"UPDATE t1 SET name = 'new'", ""},
      {"DELETE FROM t1", ""},
      {"SELECT what FROM aud ORDER BY id", R"(I:>ABC
U:ABC>new
D:new>)"},
      {R"(CREATE OR REPLACE TRIGGER t1_check BEFORE UPDATE OF name ON t1 REFERENCING NEW AS n OLD AS o FOR EACH ROW WHEN (n.name <> o.name)
BEGIN
  RAISE_APPLICATION_ERROR(-20111, 'no change from ' || :o.name || ' to ' || :n.name);
END;)",
       ""},
      {"INSERT INTO t1 (name) VALUES ('abc')", ""},
      {"UPDATE t1 SET name = 'x'",
       R"(ORA-20111: no change from ABC to x
ORA-06512: at "SCOTT.T1_CHECK", line 2
ORA-04088: error during execution of trigger 'SCOTT.T1_CHECK')"},
      {"UPDATE t1 SET name = name, upd = SYSDATE", ""},
      {"ALTER TRIGGER t1_check DISABLE", ""},
      {"UPDATE t1 SET name = 'x'", ""},
      {"ALTER TABLE t1 DISABLE ALL TRIGGERS", ""},
      {"INSERT INTO t1 (id, name) VALUES (50, 'raw')", ""},
      {"SELECT name FROM t1 WHERE id = 50", "raw"},
      {"ALTER TABLE t1 ENABLE ALL TRIGGERS", ""},
      {"DROP TRIGGER t1_check", ""},
      {R"(CREATE OR REPLACE TRIGGER t1_mut AFTER UPDATE ON t1 FOR EACH ROW
DECLARE n NUMBER;
BEGIN
  SELECT COUNT(*) INTO n FROM t1;
END;)",
       ""},
      {"UPDATE t1 SET name = 'y'",
       R"(ORA-04091: table SCOTT.T1 is mutating, trigger/function may not see it
ORA-06512: at "SCOTT.T1_MUT", line 3
ORA-04088: error during execution of trigger 'SCOTT.T1_MUT')"},
      {"DROP TRIGGER t1_mut", ""},
      {"CREATE OR REPLACE TRIGGER t1_s1 BEFORE UPDATE ON t1 BEGIN DBMS_OUTPUT.PUT_LINE('before stmt'); END;", ""},
      {R"(CREATE OR REPLACE TRIGGER t1_r1 BEFORE UPDATE ON t1 FOR EACH ROW BEGIN DBMS_OUTPUT.PUT_LINE('before row ' || :OLD.id); END;)",
       ""},
      {R"(CREATE OR REPLACE TRIGGER t1_r2 BEFORE UPDATE ON t1 FOR EACH ROW FOLLOWS t1_r1 BEGIN DBMS_OUTPUT.PUT_LINE('second'); END;)",
       ""},
      {"CREATE OR REPLACE TRIGGER t1_s2 AFTER UPDATE ON t1 BEGIN DBMS_OUTPUT.PUT_LINE('after stmt'); END;", ""},
      {"UPDATE t1 SET name = 'q' WHERE id = 50", R"(before stmt
before row 50
second
after stmt)"},
      {"UPDATE t1 SET name = 'q' WHERE id = -1", R"(before stmt
after stmt)"},
      {"CREATE OR REPLACE TRIGGER t1_bad AFTER UPDATE ON t1 FOR EACH ROW BEGIN :NEW.name := 'x'; END;",
       "ORA-04084: cannot change NEW values for this trigger type"},
      {"CREATE OR REPLACE TRIGGER t1_bad BEFORE UPDATE ON t1 FOR EACH ROW BEGIN :OLD.name := 'x'; END;",
       "ORA-04085: cannot change the value of an OLD reference variable"},
      {R"(CREATE OR REPLACE TRIGGER t1_bad BEFORE UPDATE ON t1 BEGIN IF :NEW.name IS NULL THEN NULL; END IF; END;)",
       "ORA-04082: NEW or OLD references not allowed in table level triggers"},
      {R"(CREATE OR REPLACE VIEW v1 AS SELECT d.team_no, d.title, COUNT(e.id) cnt FROM team d LEFT JOIN worker e ON e.team_no = d.team_no GROUP BY d.team_no, d.title)",
       ""},
      {"SELECT COUNT(*) FROM team WHERE team_no = 77", "0"},
      {R"(CREATE OR REPLACE TRIGGER c1 FOR INSERT OR UPDATE ON t1 COMPOUND TRIGGER
  n PLS_INTEGER := 0;
  BEFORE STATEMENT IS BEGIN n := 0; DBMS_OUTPUT.PUT_LINE('bs'); END BEFORE STATEMENT;
  BEFORE EACH ROW IS BEGIN n := n + 1; :NEW.upd := DATE '2000-01-01'; END BEFORE EACH ROW;
  AFTER EACH ROW IS BEGIN n := n + 10; END AFTER EACH ROW;
  AFTER STATEMENT IS BEGIN DBMS_OUTPUT.PUT_LINE('as ' || n); END AFTER STATEMENT;
END c1;)",
       ""},
      {"INSERT INTO t1 (id, name) SELECT 100 + LEVEL, 'x' FROM dual CONNECT BY LEVEL <= 3", R"(bs
as 33)"},
      {"SELECT COUNT(*) FROM t1 WHERE upd = DATE '2000-01-01'", "3"}}},
};

using BlockTriggers = BlockCases;

TEST_P(BlockTriggers, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockTriggers, ::testing::ValuesIn(groups), name_of_group);

} // namespace
