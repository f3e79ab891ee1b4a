#include "tests/client/groups.h"
#include "tests/scratch_folder.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class ClientDefinitions : public ::testing::TestWithParam<Group> {
  protected:
    OciSession session{"memory:definitions"};
};

TEST_P(ClientDefinitions, areOracles) {
    expectAnswers(session, GetParam().cases);
}

const Group groups[] = {
    {"tables_and_columns_of_the_dictionary",
     {{"CREATE TABLE dept (deptno NUMBER(2) CONSTRAINT dept_pk PRIMARY KEY, dname VARCHAR2(14 CHAR) NOT NULL, "
       "note NVARCHAR2(10))",
       ""},
      {"CREATE TABLE emp (id INTEGER GENERATED ALWAYS AS IDENTITY, ename CHAR(5) DEFAULT 'x', sal NUMBER(7,2), f "
       "FLOAT, "
       "n NUMBER, hired TIMESTAMP(3) WITH TIME ZONE, d DATE, deptno NUMBER(2) INVISIBLE, twice NUMBER AS (sal * 2), "
       "pic BLOB, r RAW(16), y INTERVAL DAY(3) TO SECOND(2))",
       ""},
      {"CREATE GLOBAL TEMPORARY TABLE scratch (x VARCHAR2(5)) ON COMMIT PRESERVE ROWS", ""},
      {"CREATE VIEW names AS SELECT dname FROM dept", ""},
      {"SELECT table_name, temporary, duration FROM user_tables ORDER BY 1", "DEPT,N,;EMP,N,;SCRATCH,Y,SYS$SESSION"},
      {"SELECT COUNT(*) FROM all_tables WHERE owner = USER AND table_name IN (SELECT table_name FROM dba_tables)", "3"},
      {"SELECT column_name, data_type, data_length, data_precision, data_scale, nullable, column_id FROM "
       "user_tab_columns WHERE table_name = 'EMP' ORDER BY column_id, column_name",
       "ID,NUMBER,22,,0,N,1;ENAME,CHAR,5,,,Y,2;SAL,NUMBER,22,7,2,Y,3;F,FLOAT,22,126,,Y,4;N,NUMBER,22,,,Y,5;"
       "HIRED,TIMESTAMP(3) WITH TIME ZONE,13,,3,Y,6;D,DATE,7,,,Y,7;TWICE,NUMBER,22,,,Y,8;PIC,BLOB,4000,,,Y,9;"
       "R,RAW,16,,,Y,10;Y,INTERVAL DAY(3) TO SECOND(2),11,3,2,Y,11;DEPTNO,NUMBER,22,2,0,Y,"},
      {"SELECT column_name, data_length, char_length, char_used, character_set_name FROM user_tab_columns WHERE "
       "table_name = 'DEPT' ORDER BY column_id",
       "DEPTNO,22,0,,;DNAME,56,14,C,CHAR_CS;NOTE,20,10,C,NCHAR_CS"},
      {"SELECT column_name, hidden_column, virtual_column, data_default FROM user_tab_cols WHERE table_name = 'EMP' "
       "AND "
       "(data_default IS NOT NULL OR hidden_column = 'YES') AND column_name <> 'ID' ORDER BY column_name",
       "DEPTNO,YES,NO,;ENAME,NO,NO,'x';TWICE,NO,YES,sal * 2"},
      {"SELECT column_name, hidden_column, virtual_column, data_default FROM user_tab_cols WHERE table_name = 'EMP' "
       "AND "
       "column_name IN ('ENAME', 'DEPTNO', 'TWICE') ORDER BY column_name",
       "DEPTNO,YES,NO,;ENAME,NO,NO,'x';TWICE,NO,YES,sal * 2"},
      {"SELECT column_name, generation_type FROM user_tab_identity_cols", "ID,ALWAYS"},
      {"SELECT table_name, column_name FROM all_tab_columns WHERE owner = 'SCOTT' AND data_type LIKE '%CHAR%' ORDER BY "
       "table_name, column_name",
       "DEPT,DNAME;DEPT,NOTE;EMP,ENAME;NAMES,DNAME;SCRATCH,X"},
      {"SELECT t.table_name, COUNT(c.column_name) FROM user_tables t, user_tab_columns c WHERE t.table_name = "
       "c.table_name(+) GROUP BY t.table_name ORDER BY 1",
       "DEPT,3;EMP,12;SCRATCH,1"},
      {"DROP TABLE scratch", ""},
      {"SELECT COUNT(*) FROM user_tables", "2"},
      {"SELECT tname, tabtype FROM tab ORDER BY 1", "DEPT,TABLE;EMP,TABLE;NAMES,VIEW"},
      {"SELECT table_name FROM cat WHERE table_type = 'VIEW'", "NAMES"}}},
    {"constraints_of_the_dictionary",
     {{"CREATE TABLE dept (deptno NUMBER(2) CONSTRAINT dept_pk PRIMARY KEY, dname VARCHAR2(14) CONSTRAINT dname_there "
       "NOT "
       "NULL, loc VARCHAR2(5), CONSTRAINT dept_name UNIQUE (loc, dname))",
       ""},
      {"CREATE TABLE emp (sal NUMBER CONSTRAINT sal_ok CHECK (sal > 0) DISABLE, deptno CONSTRAINT emp_dept REFERENCES "
       "dept ON DELETE CASCADE, loc VARCHAR2(5), dname VARCHAR2(14), CONSTRAINT emp_name FOREIGN KEY (loc, dname) "
       "REFERENCES dept (loc, dname) DEFERRABLE INITIALLY DEFERRED)",
       ""},
      {"SELECT constraint_name, constraint_type, table_name, status, r_constraint_name, delete_rule, index_name FROM "
       "user_constraints ORDER BY constraint_name",
       "DEPT_NAME,U,DEPT,ENABLED,,,DEPT_NAME;DEPT_PK,P,DEPT,ENABLED,,,DEPT_PK;DNAME_THERE,C,DEPT,ENABLED,,,;"
       "EMP_DEPT,R,EMP,ENABLED,DEPT_PK,CASCADE,;EMP_NAME,R,EMP,ENABLED,DEPT_NAME,NO ACTION,;SAL_OK,C,EMP,DISABLED,,,"},
      {"SELECT search_condition_vc FROM user_constraints WHERE constraint_type = 'C' ORDER BY constraint_name",
       "\"DNAME\" IS NOT NULL;sal > 0"},
      {"SELECT search_condition FROM user_constraints WHERE constraint_name = 'SAL_OK'", "sal > 0"},
      {"SELECT constraint_name, deferrable, deferred, validated, generated FROM all_constraints WHERE constraint_name "
       "IN ('EMP_NAME', 'SAL_OK') ORDER BY 1",
       "EMP_NAME,DEFERRABLE,DEFERRED,VALIDATED,USER NAME;SAL_OK,NOT DEFERRABLE,IMMEDIATE,NOT VALIDATED,USER NAME"},
      {"SELECT column_name, position FROM user_cons_columns WHERE constraint_name = 'DEPT_NAME' ORDER BY position",
       "LOC,1;DNAME,2"},
      {"SELECT position FROM user_cons_columns WHERE constraint_name = 'SAL_OK'", ""},
      {"SELECT c.table_name, a.column_name, p.table_name FROM user_constraints c JOIN user_cons_columns a ON "
       "a.constraint_name = c.constraint_name JOIN user_constraints p ON p.constraint_name = c.r_constraint_name WHERE "
       "c.constraint_type = 'R' AND c.constraint_name = 'EMP_DEPT'",
       "EMP,DEPTNO,DEPT"}}},
    {"other_objects_of_the_dictionary",
     {{"CREATE TABLE t (a NUMBER PRIMARY KEY, b VARCHAR2(9), c NUMBER)", ""},
      {"CREATE INDEX t_b ON t (b DESC, c)", ""},
      {"CREATE UNIQUE INDEX t_up ON t (UPPER(b))", ""},
      {"SELECT index_name, uniqueness, index_type FROM user_indexes WHERE generated = 'N' ORDER BY 1",
       "T_B,NONUNIQUE,FUNCTION-BASED NORMAL;T_UP,UNIQUE,FUNCTION-BASED NORMAL"},
      {"SELECT uniqueness, index_type FROM user_indexes WHERE table_name = 'T' AND generated = 'Y'", "UNIQUE,NORMAL"},
      {"SELECT column_name, column_position, descend FROM user_ind_columns WHERE index_name = 'T_B' ORDER BY 2",
       "B,1,DESC;C,2,ASC"},
      {"SELECT column_expression FROM user_ind_expressions WHERE index_name = 'T_UP'", "UPPER(b)"},
      {"SELECT i.column_name FROM user_ind_columns i, user_constraints c WHERE i.index_name = c.index_name AND "
       "c.constraint_type = 'P'",
       "A"},
      {"CREATE SEQUENCE s START WITH 5 INCREMENT BY 2 MAXVALUE 99 CYCLE NOCACHE ORDER", ""},
      {"SELECT s.NEXTVAL FROM DUAL", "5"},
      {"SELECT sequence_name, min_value, max_value, increment_by, cycle_flag, order_flag, cache_size, last_number FROM "
       "user_sequences",
       "S,1,99,2,Y,Y,0,7"},
      {"CREATE SYNONYM syn FOR t", ""},
      {"CREATE PUBLIC SYNONYM pub FOR t", ""},
      {"SELECT synonym_name, table_owner, table_name FROM user_synonyms", "SYN,SCOTT,T"},
      {"SELECT owner, synonym_name FROM all_synonyms WHERE table_name = 'T' ORDER BY 1", "PUBLIC,PUB;SCOTT,SYN"},
      {"CREATE OR REPLACE VIEW v AS SELECT a FROM t WHERE b = 'x'", ""},
      {"SELECT view_name, text, text_length, read_only FROM user_views", "V,SELECT a FROM t WHERE b = 'x',29,N"},
      {"CREATE OR REPLACE TRIGGER trg BEFORE INSERT OR UPDATE OF b ON t FOR EACH ROW WHEN (NEW.a > 1) BEGIN :NEW.c := "
       "1; "
       "END;",
       ""},
      {"SELECT trigger_name, trigger_type, triggering_event, table_name, status, when_clause FROM user_triggers",
       "TRG,BEFORE EACH ROW,INSERT OR UPDATE,T,ENABLED,NEW.a > 1"},
      {"ALTER TRIGGER trg DISABLE", ""},
      {"SELECT status, trigger_body FROM user_triggers", "DISABLED,BEGIN :NEW.c := 1; END;"},
      {"CREATE PROCEDURE p IS\nBEGIN\n  NULL;\nEND;", ""},
      {"SELECT type, line, text FROM user_source WHERE name = 'P' ORDER BY line",
       "PROCEDURE,1,PROCEDURE p IS\n;PROCEDURE,2,BEGIN\n;PROCEDURE,3,  NULL;\n;PROCEDURE,4,END;"},
      {"SELECT object_name, object_type FROM user_procedures", "P,PROCEDURE"},
      {"SELECT object_type, COUNT(*) FROM user_objects GROUP BY object_type ORDER BY 1",
       "INDEX,3;PROCEDURE,1;SEQUENCE,1;SYNONYM,1;TABLE,1;TRIGGER,1;VIEW,1"},
      {"SELECT status FROM all_objects WHERE object_name = 'T' AND created <= SYSDATE AND owner = USER", "VALID"},
      {"COMMENT ON TABLE t IS 'the table'", ""},
      {"COMMENT ON COLUMN t.b IS 'it''s b'", ""},
      {"SELECT table_name, table_type, comments FROM user_tab_comments ORDER BY 1", "T,TABLE,the table;V,VIEW,"},
      {"SELECT column_name, comments FROM user_col_comments WHERE table_name = 'T' ORDER BY 1", "A,;B,it's b;C,"},
      {"COMMENT ON TABLE t IS ''", ""},
      {"SELECT comments FROM all_tab_comments WHERE table_name = 'T' AND comments IS NOT NULL", ""}}},
    {"accounts_and_settings_of_the_dictionary",
     {{"SELECT username FROM user_users", "SCOTT"},
      {"CREATE USER other IDENTIFIED BY x", ""},
      {"SELECT username FROM all_users ORDER BY user_id", "SCOTT;OTHER"},
      {"SELECT username, account_status FROM dba_users WHERE username = 'OTHER'", "OTHER,OPEN"},
      {"SELECT COUNT(*) FROM v$version WHERE banner LIKE 'Oracle%'", "1"},
      {"SELECT value FROM nls_session_parameters WHERE parameter = 'NLS_DATE_FORMAT'", "DD-MON-RR"},
      {"ALTER SESSION SET NLS_DATE_FORMAT = 'YYYY-MM-DD'", ""},
      {"SELECT value FROM nls_session_parameters WHERE parameter = 'NLS_DATE_FORMAT'", "YYYY-MM-DD"},
      {"SELECT value FROM nls_database_parameters WHERE parameter IN ('NLS_CHARACTERSET', 'NLS_DATE_FORMAT') ORDER BY "
       "1",
       "AL32UTF8;DD-MON-RR"},
      {"SELECT COUNT(*) FROM v$session WHERE username = USER AND sid = SYS_CONTEXT('USERENV', 'SID')", "1"},
      {"SELECT COUNT(*) FROM dictionary WHERE table_name IN ('USER_TABLES', 'ALL_TABLES', 'V$VERSION')", "3"},
      {"SELECT COUNT(*) FROM session_privs WHERE privilege = 'CREATE TABLE'", "1"},
      {"SELECT COUNT(*) FROM user_errors", "0"},
      {"SELECT mview_name FROM all_mviews WHERE owner = USER", ""},
      {"SELECT 1 FROM sys.user_tables WHERE ROWNUM = 1", ""},
      {"SELECT hash FROM all_users", "ORA-00904"}}},
    {"the_dictionary_is_read_only",
     {{"CREATE TABLE t (a NUMBER)", ""},
      {"DELETE FROM user_tables", "ORA-01031"},
      {"UPDATE user_tables SET table_name = 'X'", "ORA-01031"},
      {"INSERT INTO user_tables (table_name) VALUES ('X')", "ORA-01031"},
      {"SELECT * FROM \"DTK$V_USER_TABLES\"", "ORA-00942"},
      {"SELECT * FROM \"DTK$OBJECTS\"", "ORA-00942"},
      {"CREATE VIEW mine AS SELECT table_name n FROM user_tables", ""},
      {"SELECT n FROM mine", "T"},
      {"CREATE TABLE copied AS SELECT table_name, num_rows FROM user_tables WHERE table_name = 'T'", ""},
      {"SELECT * FROM copied", "T,"},
      {"CREATE TABLE user_tables (mine NUMBER)", ""},
      {"SELECT COUNT(mine) FROM user_tables", "0"}}},
    {"the_dictionary_within_a_transaction",
     {{"CREATE TABLE t (a NUMBER)", ""},
      {"INSERT INTO t VALUES (1)", ""},
      {"SELECT table_name FROM user_tables", "T"},
      {"ROLLBACK", ""},
      {"SELECT table_name FROM user_tables", "T"},
      {"SELECT COUNT(*) FROM t", "0"}}},
    {"blocks_of_migrations",
     {{"BEGIN EXECUTE IMMEDIATE 'DROP TABLE x CASCADE CONSTRAINTS PURGE'; EXCEPTION WHEN OTHERS THEN IF SQLCODE != "
       "-942 "
       "THEN RAISE; END IF; END;",
       ""},
      {"DECLARE v NUMBER; BEGIN SELECT COUNT(*) INTO v FROM user_tables WHERE table_name = 'X'; IF v = 0 THEN EXECUTE "
       "IMMEDIATE 'CREATE TABLE x (a NUMBER)'; END IF; END;",
       ""},
      {"DECLARE v NUMBER; BEGIN SELECT COUNT(*) INTO v FROM user_tables WHERE table_name = 'X'; IF v = 0 THEN EXECUTE "
       "IMMEDIATE 'CREATE TABLE x (a NUMBER)'; END IF; END;",
       ""},
      {"DECLARE n NUMBER; BEGIN SELECT COUNT(*) INTO n FROM user_tab_cols WHERE table_name = 'X' AND column_name = "
       "'B'; IF "
       "n = 0 THEN EXECUTE IMMEDIATE 'ALTER TABLE x ADD b VARCHAR2(5)'; END IF; END;",
       ""},
      {"INSERT INTO x VALUES (1, 'b')", ""},
      {"BEGIN FOR c IN (SELECT table_name FROM user_tables) LOOP EXECUTE IMMEDIATE 'TRUNCATE TABLE ' || c.table_name; "
       "END "
       "LOOP; END;",
       ""},
      {"SELECT COUNT(*) FROM x", "0"},
      {"BEGIN FOR i IN (SELECT object_name, object_type FROM user_objects WHERE object_type IN ('TABLE', 'SEQUENCE')) "
       "LOOP "
       "EXECUTE IMMEDIATE 'DROP ' || i.object_type || ' ' || i.object_name; END LOOP; END;",
       ""},
      {"SELECT COUNT(*) FROM user_objects", "0"}}},
    {"lengths_in_characters",
     {{"CREATE TABLE t (c VARCHAR2(5 CHAR), b VARCHAR2(5 BYTE), f CHAR(3 CHAR), n NVARCHAR2(5))", ""},
      {"INSERT INTO t (c, f, n) VALUES ('éàüöß', 'é', 'ééééé')", ""},
      {"INSERT INTO t (c) VALUES ('éàüößx')", "ORA-12899"},
      {"INSERT INTO t (b) VALUES ('ééé')", "ORA-12899"},
      {"INSERT INTO t (f) VALUES ('éééé')", "ORA-12899"},
      {"INSERT INTO t (n) VALUES ('éééééé')", "ORA-12899"},
      {"SELECT LENGTH(c), LENGTHB(c), '[' || f || ']', LENGTH(n) FROM t", "5,10,[é  ],5"},
      {"SELECT COUNT(*) FROM t WHERE f = 'é'", "1"},
      {"SELECT CAST('éàüö' AS VARCHAR2(2 CHAR)) FROM DUAL", "éà"},
      {"ALTER TABLE t MODIFY c VARCHAR2(4 CHAR)", "ORA-01441"},
      {"ALTER TABLE t MODIFY c VARCHAR2(9 BYTE)", "ORA-01441"},
      {"ALTER TABLE t MODIFY c VARCHAR2(10 BYTE)", ""},
      {"ALTER SESSION SET NLS_LENGTH_SEMANTICS = CHAR", ""},
      {"CREATE TABLE u (c VARCHAR2(2), b VARCHAR2(2 BYTE))", ""},
      {"INSERT INTO u (c) VALUES ('éé')", ""},
      {"INSERT INTO u (b) VALUES ('éé')", "ORA-12899"},
      {"SELECT column_name, char_used, data_length FROM user_tab_columns WHERE table_name = 'U' ORDER BY 1",
       "B,B,2;C,C,8"},
      {"CREATE TABLE w (n NVARCHAR2(2001))", "ORA-00910"},
      {"DECLARE v VARCHAR2(2 CHAR) := 'éé'; BEGIN v := 'ééé'; END;", "ORA-06502"}}},
    {"violated_constraints",
     {{"CREATE TABLE p (id NUMBER PRIMARY KEY, n VARCHAR2(5) NOT NULL)", ""},
      {"CREATE TABLE c (id NUMBER REFERENCES p DEFERRABLE INITIALLY DEFERRED)", ""},
      {"INSERT INTO p VALUES (1, NULL)", "ORA-01400"},
      {"INSERT INTO p (id) VALUES (1)", "ORA-01400"},
      {"INSERT INTO p VALUES (NULL, 'a')", "ORA-01400"},
      {"INSERT INTO p VALUES (1, 'a')", ""},
      {"UPDATE p SET n = ''", "ORA-01407"},
      {"UPDATE p SET n = NULL WHERE id = 1", "ORA-01407"},
      {"UPDATE p SET n = (SELECT NULL FROM DUAL)", "ORA-01407"},
      {"UPDATE p SET id = NULL", "ORA-01407"},
      {"MERGE INTO p USING DUAL ON (id = 1) WHEN MATCHED THEN UPDATE SET n = NULL", "ORA-01407"},
      {"INSERT INTO c VALUES (2)", ""},
      {"COMMIT", "ORA-02091"},
      {"SELECT COUNT(*) FROM c", "0"},
      {"INSERT INTO c VALUES (2)", ""},
      {"INSERT INTO p VALUES (2, 'b')", ""},
      {"COMMIT", ""}}},
    {"keys_take_the_indexes_that_are_there",
     {{"CREATE TABLE t (a NUMBER, b NUMBER)", ""},
      {"CREATE UNIQUE INDEX t_pk ON t (a)", ""},
      {"CREATE INDEX t_b ON t (b)", ""},
      {"ALTER TABLE t ADD (CONSTRAINT t_b UNIQUE (a, b))", "ORA-00955"},
      {"ALTER TABLE t ADD (CONSTRAINT t_pk PRIMARY KEY (a))", ""},
      {"ALTER TABLE t ADD CONSTRAINT b_key UNIQUE (b) USING INDEX t_b", ""},
      {"SELECT index_name FROM user_indexes ORDER BY 1", "T_B;T_PK"},
      {"SELECT constraint_name, index_name FROM user_constraints ORDER BY 1", "B_KEY,T_B;T_PK,T_PK"},
      {"DROP INDEX t_pk", "ORA-02429"},
      {"INSERT INTO t VALUES (1, 1)", ""},
      {"INSERT INTO t VALUES (1, 2)", "ORA-00001"},
      {"ALTER TABLE t DROP CONSTRAINT t_pk", ""},
      {"DROP INDEX t_pk", ""},
      {"INSERT INTO t VALUES (1, 2)", ""}}},
    {"changes_of_tables",
     {{"CREATE TABLE a (id NUMBER(10) NOT NULL, name VARCHAR2(255 CHAR), PRIMARY KEY (id))", ""},
      {"ALTER TABLE a ADD (x NUMBER(1,0) DEFAULT 0 NOT NULL, y DATE)", ""},
      {"ALTER TABLE a MODIFY (x NUMBER(2) DEFAULT 1, y TIMESTAMP)", ""},
      {"ALTER TABLE a MODIFY x NULL", ""},
      {"ALTER TABLE a MODIFY x NULL", "ORA-01451"},
      {"ALTER TABLE a MODIFY (x NOT NULL)", ""},
      {"ALTER TABLE a DROP (x, y) CASCADE CONSTRAINTS", ""},
      {"ALTER TABLE a ADD CONSTRAINT uq_name UNIQUE (name) USING INDEX TABLESPACE users", ""},
      {"ALTER TABLE a ADD CONSTRAINT uq_name2 UNIQUE (name)", "ORA-02261"},
      {"ALTER TABLE a RENAME CONSTRAINT uq_name TO uq_n", ""},
      {"ALTER TABLE a RENAME COLUMN name TO title", ""},
      {"ALTER TABLE a DROP CONSTRAINT nope", "ORA-02443"},
      {"ALTER TABLE a DROP COLUMN nope", "ORA-00904"},
      {"ALTER TABLE a ADD id NUMBER", "ORA-01430"},
      {"ALTER TABLE a ADD CONSTRAINT fk FOREIGN KEY (id) REFERENCES nope (id)", "ORA-00942"},
      {"ALTER TABLE a ADD CONSTRAINT fk FOREIGN KEY (id) REFERENCES a (title)", "ORA-02267"},
      {"ALTER TABLE a ADD CONSTRAINT fk FOREIGN KEY (title) REFERENCES a (title) ON DELETE SET NULL", ""},
      {"ALTER TABLE a DROP CONSTRAINT uq_n", "ORA-02273"},
      {"ALTER TABLE a DISABLE CONSTRAINT fk", ""},
      {"ALTER TABLE a ENABLE NOVALIDATE CONSTRAINT fk", ""},
      {"ALTER TABLE a DISABLE PRIMARY KEY", ""},
      {"ALTER TABLE a DROP PRIMARY KEY CASCADE DROP INDEX", ""},
      {"ALTER TABLE a ADD PRIMARY KEY (id) USING INDEX (CREATE UNIQUE INDEX a_ix ON a (id))", ""},
      {"ALTER TABLE a ADD z NUMBER ADD zz NUMBER MODIFY z NUMBER(5)", ""},
      {"ALTER TABLE a ADD (UNIQUE (z), CONSTRAINT q CHECK (zz IS NOT NULL))", ""},
      {"ALTER TABLE a DROP UNIQUE (z)", ""},
      {"ALTER TABLE a SET UNUSED COLUMN z", ""},
      {"ALTER TABLE a DROP UNUSED COLUMNS", ""},
      {"ALTER TABLE a RENAME TO b", ""},
      {"INSERT INTO b (id, title, zz) VALUES (1, 't', 2)", ""},
      {"SELECT * FROM b", "1,t,2"}}},
    {"identities_and_virtual_columns",
     {{"CREATE TABLE t (id NUMBER GENERATED BY DEFAULT ON NULL AS IDENTITY (START WITH 10 INCREMENT BY 5), v NUMBER "
       "GENERATED ALWAYS AS (id * 2) VIRTUAL, w VARCHAR2(10) DEFAULT ON NULL 'none')",
       ""},
      {"INSERT INTO t (w) VALUES (NULL)", ""},
      {"INSERT INTO t (id, w) VALUES (NULL, 'x')", ""},
      {"SELECT * FROM t ORDER BY id", "10,20,none;15,30,x"},
      {"INSERT INTO t (v) VALUES (1)", "ORA-54013"},
      {"UPDATE t SET v = 1", "ORA-54017"},
      {"CREATE TABLE a (id NUMBER GENERATED ALWAYS AS IDENTITY, d NUMBER)", ""},
      {"INSERT INTO a (id) VALUES (1)", "ORA-32795"},
      {"INSERT INTO a (id) VALUES (DEFAULT)", ""},
      {"UPDATE a SET id = 3", "ORA-32796"},
      {"CREATE TABLE bad (a NUMBER DEFAULT b)", "ORA-00984"},
      {"ALTER TABLE a MODIFY id GENERATED BY DEFAULT AS IDENTITY", ""},
      {"INSERT INTO a (id) VALUES (7)", ""}}},
    {"storage",
     {{"CREATE TABLE i (id NUMBER, CONSTRAINT i_pk PRIMARY KEY (id)) ORGANIZATION INDEX INCLUDING id OVERFLOW "
       "TABLESPACE "
       "users",
       ""},
      {"CREATE TABLE r (id NUMBER, d DATE) PARTITION BY RANGE (d) INTERVAL (NUMTOYMINTERVAL(1, 'MONTH')) (PARTITION p0 "
       "VALUES LESS THAN (TO_DATE('2020-01-01', 'YYYY-MM-DD')))",
       ""},
      {"CREATE TABLE s (id NUMBER, d DATE) PARTITION BY RANGE (d) SUBPARTITION BY HASH (id) SUBPARTITIONS 2 (PARTITION "
       "p1 "
       "VALUES LESS THAN (MAXVALUE))",
       ""},
      {"CREATE TABLE h (id NUMBER) PARTITION BY HASH (id) PARTITIONS 4 STORE IN (users, users)", ""},
      {"CREATE TABLE l (id NUMBER(10) CONSTRAINT l_pk PRIMARY KEY USING INDEX TABLESPACE users, txt NCLOB) SEGMENT "
       "CREATION "
       "IMMEDIATE PCTFREE 10 PCTUSED 40 INITRANS 1 NOCOMPRESS LOGGING STORAGE(INITIAL 65536 FREELIST GROUPS 1) "
       "TABLESPACE "
       "\"USERS\" LOB (txt) STORE AS SECUREFILE (ENABLE STORAGE IN ROW CHUNK 8192)",
       ""},
      {"CREATE BITMAP INDEX s_i ON s (d) LOCAL (PARTITION p1 TABLESPACE users) NOLOGGING COMPUTE STATISTICS", ""},
      {"ALTER INDEX s_i REBUILD ONLINE", ""},
      {"ALTER TABLE s MOVE TABLESPACE users", ""},
      {"ALTER TABLE s ADD c CLOB LOB (c) STORE AS (TABLESPACE users)", ""},
      {"ALTER TABLE s DROP PARTITION p1", "ORA-03001"},
      {"SELECT /*+ FULL(s) */ COUNT(*) FROM s", "0"}}},
    {"views_and_privileges",
     {{"CREATE TABLE t (id NUMBER, w VARCHAR2(5))", ""},
      {"CREATE OR REPLACE FORCE VIEW f AS SELECT * FROM nope", ""},
      {"SELECT * FROM f", "ORA-00942"},
      {"SELECT status FROM user_objects WHERE object_name = 'F'", "INVALID"},
      {"CREATE VIEW r (i, w) AS SELECT id, w FROM t WITH READ ONLY", ""},
      {"DELETE FROM r", "ORA-42399"},
      {"CREATE VIEW v AS SELECT id, w FROM t", ""},
      {"INSERT INTO v VALUES (1, 'a')", ""},
      {"UPDATE any_schema.v SET w = 'b'", ""},
      {"SELECT w FROM other_schema.t", "b"},
      {"DELETE FROM DUAL", "ORA-01031"},
      {"GRANT SELECT, INSERT ON t TO PUBLIC WITH GRANT OPTION", ""},
      {"GRANT SELECT ON nope TO PUBLIC", "ORA-00942"},
      {"REVOKE ALL ON t FROM nobody", "ORA-01917"},
      {"CREATE OR REPLACE SYNONYM s FOR scott.t", ""},
      {"SELECT COUNT(*) FROM s", "1"},
      {"DROP SYNONYM nope", "ORA-01434"},
      {"SET ROLE ALL", ""},
      {"CREATE TABLE c (a NUMBER, a NUMBER)", "ORA-00957"},
      {"CREATE TABLE c (a NUMBER REFERENCES nope)", "ORA-00942"},
      {"CREATE TABLE c (a NUMBER REFERENCES t (id))", "ORA-02270"},
      {"CREATE TABLE c (a NUMBER REFERENCES t)", "ORA-02268"},
      {"CREATE TABLE c (a NUMBER PRIMARY KEY, b NUMBER PRIMARY KEY)", "ORA-02260"},
      {"TRUNCATE TABLE t DROP STORAGE", ""},
      {"RENAME t TO u", ""},
      {"COMMENT ON TABLE t IS 'x'", "ORA-00942"},
      {"COMMENT ON COLUMN u.nope IS 'x'", "ORA-00904"},
      {"DROP TABLE u CASCADE CONSTRAINTS PURGE", ""}}},
    {"clauses_of_columns_and_constraints",
     {{"CREATE TABLE t (a NUMBER NOT NULL DEFAULT 1)", "ORA-00907"},
      {"CREATE TABLE t (a NUMBER DEFAULT 1 NOT NULL)", ""},
      {"ALTER TABLE t ADD CONSTRAINT positive CHECK (a > 0) ENABLE NOVALIDATE EXCEPTIONS INTO faults", ""},
      {"CREATE VIEW v (x, CONSTRAINT v_pk PRIMARY KEY (x) RELY DISABLE NOVALIDATE) AS SELECT a FROM t", ""},
      {"SELECT x FROM v", ""},
      {"CREATE VIEW w (x, CONSTRAINT w_pk PRIMARY KEY (x)) AS SELECT a FROM t", "ORA-03001"},
      {"GRANT CONNECT, RESOURCE TO made IDENTIFIED BY secret", ""},
      {"SELECT COUNT(*) FROM all_users WHERE username = 'MADE'", "1"},
      {"ALTER SESSION SET \"_ORACLE_SCRIPT\" = TRUE", ""}}},
};

INSTANTIATE_TEST_SUITE_P(, ClientDefinitions, ::testing::ValuesIn(groups), rowName);

/// What the last failure of a statement was told as.
std::string message(const OciSession& session, const std::string& sql) {
    OCIStmt* statement = session.prepare(sql);
    const int status = session.execute(statement);
    std::string text;
    if (status != OCI_SUCCESS) {
        OraText buffer[1024];
        sb4 code = 0;
        OCIErrorGet(session.error, 1, nullptr, &code, buffer, sizeof buffer, OCI_HTYPE_ERROR);
        text = reinterpret_cast<const char*>(buffer);
    }
    session.release(statement);
    return text;
}

TEST(ClientDefinitionErrors, nameTheConstraintOrTheColumn) {
    const OciSession session("memory:messages");
    for (const char* sql : {"CREATE TABLE p (id NUMBER CONSTRAINT p_pk PRIMARY KEY, n VARCHAR2(2 CHAR) NOT NULL, k "
                            "NUMBER CONSTRAINT small "
                            "CHECK (k < 9))",
                            "CREATE TABLE c (id NUMBER CONSTRAINT c_p REFERENCES p)",
                            "INSERT INTO p VALUES (1, 'a', 1)", "INSERT INTO c VALUES (1)", "COMMIT"}) {
        ASSERT_EQ(session.run(sql), "") << sql;
    }
    for (const Case& tested : std::vector<Case>{
             {"INSERT INTO p VALUES (1, 'a', 1)", "ORA-00001: unique constraint (SCOTT.P_PK) violated\n"},
             {"INSERT INTO p VALUES (2, '', 1)", "ORA-01400: cannot insert NULL into (\"SCOTT\".\"P\".\"N\")\n"},
             {"UPDATE p SET n = ''", "ORA-01407: cannot update (\"SCOTT\".\"P\".\"N\") to NULL\n"},
             {"UPDATE p SET k = 9", "ORA-02290: check constraint (SCOTT.SMALL) violated\n"},
             {"INSERT INTO c VALUES (5)",
              "ORA-02291: integrity constraint (SCOTT.C_P) violated - parent key not found\n"},
             {"DELETE FROM p", "ORA-02292: integrity constraint (SCOTT.C_P) violated - child record found\n"},
             {"UPDATE p SET n = 'ééé'",
              "ORA-12899: value too large for column \"SCOTT\".\"P\".\"N\" (actual: 3, maximum: 2)\n"}}) {
        EXPECT_EQ(message(session, tested.sql), tested.result) << tested.sql;
    }
}

TEST(ClientLocks, stopDefinitionsOfTablesInUseAtOnce) {
    const OciSession writer("memory:locks");
    ASSERT_EQ(writer.run("CREATE TABLE used (a NUMBER)"), "");
    ASSERT_EQ(writer.run("CREATE TABLE free (a NUMBER)"), "");
    ASSERT_EQ(writer.run("INSERT INTO used VALUES (1)"), "");
    ASSERT_EQ(writer.commit(), OCI_SUCCESS);
    const OciSession other("memory:locks");
    for (const char* use : {"UPDATE used SET a = 2", "SELECT a FROM used FOR UPDATE",
                            "BEGIN UPDATE used SET a = 3; END;", "LOCK TABLE used IN EXCLUSIVE MODE"}) {
        writer.run(use);
        for (const char* definition :
             {"ALTER TABLE used ADD b NUMBER", "DROP TABLE used", "TRUNCATE TABLE used", "CREATE INDEX i ON used (a)",
              "RENAME used TO renamed", "LOCK TABLE used IN EXCLUSIVE MODE NOWAIT",
              "SELECT a FROM used FOR UPDATE NOWAIT"}) {
            EXPECT_EQ(other.run(definition), "ORA-00054") << use << " / " << definition;
        }
        EXPECT_EQ(other.run("SELECT a FROM used"), "1") << use;
        EXPECT_EQ(writer.rollback(), OCI_SUCCESS);
    }
    EXPECT_EQ(other.run("ALTER TABLE used ADD b NUMBER"), "");
}

TEST(ClientLocks, endCursorsForUpdateWithTheTransaction) {
    const OciSession session("memory:locks");
    for (const char* sql : {"CREATE TABLE t (a NUMBER)", "INSERT INTO t SELECT LEVEL FROM DUAL CONNECT BY LEVEL < 4"})
        ASSERT_EQ(session.run(sql), "") << sql;
    ASSERT_EQ(session.commit(), OCI_SUCCESS);
    OCIStmt* query = session.open("SELECT a FROM t FOR UPDATE");
    int value = 0;
    session.define(query, 1, &value, sizeof value, SQLT_INT);
    EXPECT_EQ(session.fetch(query), OCI_SUCCESS);
    EXPECT_EQ(session.commit(), OCI_SUCCESS);
    EXPECT_EQ(session.fetch(query), 1002);
    session.release(query);
    EXPECT_EQ(
        session.run("DECLARE CURSOR c IS SELECT a FROM t FOR UPDATE; v NUMBER; BEGIN OPEN c; FETCH c INTO v; COMMIT; "
                    "FETCH c INTO v; END;"),
        "ORA-01002");
}

/// Draws numbers in a process of its own, writing each to the pipe before it draws the next.
[[noreturn]] void draw(const std::string& path, int pipe, std::size_t count, bool stays) {
    const OciSession session(path);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string line = session.run("SELECT s.NEXTVAL FROM DUAL") + "\n";
        if (write(pipe, line.data(), line.size()) != static_cast<ssize_t>(line.size())) _exit(1);
    }
    if (stays) pause(); // with numbers in hand
    _exit(0);
}

std::vector<std::string> read_lines(int pipe, std::size_t count) {
    std::vector<std::string> lines(1);
    for (char c = 0; lines.size() <= count && read(pipe, &c, 1) == 1;) {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    lines.pop_back();
    return lines;
}

TEST(ClientSequences, giveEachNumberOnceAmongProcessesAndKills) {
    const ScratchFolder folder;
    const std::string path = folder.path / "sequences.db";
    {
        const OciSession session(path);
        ASSERT_EQ(session.run("CREATE SEQUENCE s CACHE 20"), "");
    }
    constexpr int processes = 3;
    constexpr std::size_t numbers_each = 45;
    std::multiset<std::string> drawn;
    for (const bool killed : {false, true, false}) {
        int ends[processes][2];
        pid_t children[processes];
        for (int i = 0; i < processes; ++i) {
            ASSERT_EQ(pipe(ends[i]), 0);
            children[i] = fork();
            ASSERT_GE(children[i], 0);
            if (children[i] == 0) draw(path, ends[i][1], numbers_each, killed);
            close(ends[i][1]);
        }
        for (int i = 0; i < processes; ++i) {
            const auto lines = read_lines(ends[i][0], numbers_each);
            drawn.insert(lines.begin(), lines.end());
            if (killed) kill(children[i], SIGKILL);
            int status = 0;
            waitpid(children[i], &status, 0);
            EXPECT_TRUE(killed ? WIFSIGNALED(status) : WIFEXITED(status) && WEXITSTATUS(status) == 0);
            close(ends[i][0]);
        }
    }
    EXPECT_EQ(drawn.size(), 9 * numbers_each);
    EXPECT_EQ(std::set<std::string>(drawn.begin(), drawn.end()).size(), drawn.size());
    EXPECT_TRUE(std::ranges::none_of(drawn, [](const auto& line) { return line.starts_with("ORA"); }));
}

} // namespace
