#include "tests/client/groups.h"

namespace {

class ClientQueries : public ::testing::TestWithParam<Group> {
  protected:
    ClientQueries() {
        for (const char* sql :
             {"CREATE TABLE team (id NUMBER(2) PRIMARY KEY, title VARCHAR2(10))",
              "CREATE TABLE staff (id NUMBER(4) PRIMARY KEY, name VARCHAR2(10), boss NUMBER(4), team NUMBER(2) "
              "REFERENCES team, pay NUMBER(7,2), extra NUMBER(7,2), hired DATE)",
              "INSERT INTO team SELECT LEVEL, DECODE(LEVEL, 1, 'north', 2, 'south', 'west') FROM DUAL CONNECT BY LEVEL "
              "<= 3",
              "INSERT INTO staff VALUES (1, 'ann', NULL, 1, 5000, NULL, DATE '2020-01-01')",
              "INSERT INTO staff VALUES (2, 'bob', 1, 1, 1300, NULL, DATE '2020-03-01')",
              "INSERT INTO staff VALUES (3, 'cid', 1, 2, 3000, 300, DATE '2020-03-11')",
              "INSERT INTO staff VALUES (4, 'dan', 3, 2, 3000, 0, DATE '2021-01-01')",
              "INSERT INTO staff VALUES (5, 'eve', 3, 2, 800, NULL, DATE '2021-01-31')", "COMMIT"}) {
            EXPECT_EQ(session.run(sql), "") << sql;
        }
    }
    OciSession session{"memory:queries"};
};

TEST_P(ClientQueries, areOracles) {
    expectAnswers(session, GetParam().cases);
}

const Group groups[] = {
    {"groups",
     {{"SELECT team, COUNT(*), SUM(pay) FROM staff GROUP BY team ORDER BY team", "1,2,6300;2,3,6800"},
      {"SELECT team, SUM(pay) FROM staff GROUP BY ROLLUP(team) ORDER BY team", "1,6300;2,6800;,13100"},
      {"SELECT GROUPING(team), team, COUNT(*) FROM staff GROUP BY ROLLUP(team) ORDER BY 1, 2", "0,1,2;0,2,3;1,,5"},
      {"SELECT COUNT(*) FROM (SELECT team, boss FROM staff GROUP BY CUBE(team, boss))", "10"},
      {"SELECT COUNT(*) FROM (SELECT team, boss FROM staff GROUP BY ROLLUP(team, boss))", "7"},
      {"SELECT DISTINCT GROUPING_ID(team, boss) FROM staff GROUP BY CUBE(team, boss) ORDER BY 1", "0;1;2;3"},
      {"SELECT COUNT(*) FROM staff GROUP BY GROUPING SETS(team, ()) HAVING GROUPING(team) = 1", "5"},
      {"SELECT MAX(SUM(pay)), COUNT(COUNT(*)) FROM staff GROUP BY team", "6800,2"},
      {"SELECT MAX(SUM(pay)) FROM staff GROUP BY team HAVING COUNT(*) < 3 ORDER BY 1", "6300"},
      {"SELECT team, MAX(SUM(pay)) FROM staff GROUP BY team", "ORA-00937"},
      {"SELECT MAX(SUM(pay)) FROM staff", "ORA-00978"},
      {"SELECT MAX(SUM(COUNT(*))) FROM staff GROUP BY team", "ORA-00935"},
      {"SELECT name FROM staff GROUP BY team", "ORA-00979"},
      {"SELECT name, MAX(pay) FROM staff", "ORA-00937"},
      {"SELECT team FROM staff GROUP BY team ORDER BY name", "ORA-00979"},
      {"SELECT TO_CHAR(pay / 7) FROM staff WHERE id = 5 GROUP BY pay / 7",
       "114.285714285714285714285714285714285714"}}},
    {"row_numbers",
     {{"SELECT name FROM staff WHERE ROWNUM <= 2", "ann;bob"},
      {"SELECT name FROM staff WHERE ROWNUM = 2", ""},
      {"SELECT name FROM staff WHERE ROWNUM > 1", ""},
      {"SELECT name FROM (SELECT name FROM staff ORDER BY pay) WHERE ROWNUM = 1", "eve"},
      {"SELECT name FROM (SELECT s.*, ROWNUM n FROM (SELECT name FROM staff ORDER BY id) s WHERE ROWNUM <= 3) WHERE n "
       "= 3",
       "cid"},
      {"SELECT MAX(ROWNUM), MIN(ROWNUM) FROM staff WHERE team = 2", "3,1"},
      {"SELECT team, MAX(ROWNUM) FROM staff GROUP BY team ORDER BY team", "1,2;2,5"},
      {"SELECT ROWNUM, COUNT(*) FROM staff", "ORA-00937"},
      {"SELECT team FROM staff GROUP BY team, ROWNUM", "ORA-00976"},
      {"SELECT name FROM staff ORDER BY pay DESC, id FETCH FIRST 40 PERCENT ROWS ONLY", "ann;cid"},
      {"SELECT COUNT(*) FROM (SELECT id FROM staff ORDER BY pay DESC FETCH FIRST 2 ROWS WITH TIES)", "3"},
      {"SELECT name FROM staff ORDER BY id OFFSET 1 ROW FETCH NEXT 1 ROW ONLY", "bob"}}},
    {"windows",
     {{"SELECT SUM(pay) OVER (ORDER BY id ROWS 1 PRECEDING) FROM staff ORDER BY id", "5000;6300;4300;6000;3800"},
      {"SELECT SUM(pay) OVER (ORDER BY pay) FROM staff ORDER BY pay", "800;2100;8100;8100;13100"},
      {"SELECT COUNT(*) OVER (ORDER BY pay RANGE BETWEEN 500 PRECEDING AND 500 FOLLOWING) FROM staff ORDER BY pay",
       "2;2;2;2;1"},
      {"SELECT COUNT(*) OVER (ORDER BY hired RANGE BETWEEN 60 PRECEDING AND CURRENT ROW) FROM staff ORDER BY id",
       "1;2;2;1;2"},
      {"SELECT COUNT(*) OVER (ORDER BY hired RANGE BETWEEN INTERVAL '10' DAY PRECEDING AND CURRENT ROW) FROM staff "
       "ORDER BY id",
       "1;1;2;1;1"},
      {"SELECT COUNT(*) OVER (ORDER BY pay RANGE INTERVAL '1' DAY PRECEDING) FROM staff", "ORA-30486"},
      {"SELECT LAG(extra) IGNORE NULLS OVER (ORDER BY id) FROM staff ORDER BY id", ";;;300;0"},
      {"SELECT LAG(extra IGNORE NULLS) OVER (ORDER BY id) FROM staff ORDER BY id", ";;;300;0"},
      {"SELECT LAG(extra, 2, -1) IGNORE NULLS OVER (ORDER BY id) FROM staff ORDER BY id", "-1;-1;-1;-1;300"},
      {"SELECT LEAD(extra) IGNORE NULLS OVER (ORDER BY id) FROM staff ORDER BY id", "300;300;0;;"},
      {"SELECT FIRST_VALUE(extra) IGNORE NULLS OVER (ORDER BY id) FROM staff ORDER BY id", ";;300;300;300"},
      {"SELECT LAST_VALUE(extra IGNORE NULLS) OVER (ORDER BY id) FROM staff ORDER BY id", ";;300;0;0"},
      {"SELECT NTH_VALUE(extra, 2) IGNORE NULLS OVER (ORDER BY id) FROM staff ORDER BY id", ";;;0;0"},
      {"SELECT NTH_VALUE(name, 2) FROM LAST OVER (ORDER BY id) FROM staff ORDER BY id", ";ann;bob;cid;dan"},
      {"SELECT MAX(name) KEEP (DENSE_RANK LAST ORDER BY pay), MIN(name) KEEP (DENSE_RANK FIRST ORDER BY pay) FROM "
       "staff",
       "ann,eve"},
      {"SELECT LISTAGG(DISTINCT team, '-') WITHIN GROUP (ORDER BY team) FROM staff", "1-2"},
      {"SELECT PERCENTILE_CONT(0.5) WITHIN GROUP (ORDER BY pay), PERCENTILE_DISC(0.5) WITHIN GROUP (ORDER BY pay DESC) "
       "FROM staff WHERE team = 1",
       "3150,5000"},
      {"SELECT 1 FROM staff WHERE RANK() OVER (ORDER BY pay) = 1", "ORA-30483"},
      {"SELECT ROW_NUMBER() FROM staff", "ORA-30484"},
      {"SELECT ROW_NUMBER() OVER (PARTITION BY team) FROM staff", "ORA-30485"}}},
    {"hierarchies",
     {{"SELECT LEVEL, name FROM staff START WITH boss IS NULL CONNECT BY PRIOR id = boss ORDER SIBLINGS BY name DESC",
       "1,ann;2,cid;3,eve;3,dan;2,bob"},
      {"SELECT SYS_CONNECT_BY_PATH(name, '/') FROM staff WHERE name = 'eve' START WITH boss IS NULL CONNECT BY PRIOR "
       "id = "
       "boss",
       "/ann/cid/eve"},
      {"SELECT name FROM staff WHERE CONNECT_BY_ISLEAF = 1 START WITH boss IS NULL CONNECT BY PRIOR id = boss ORDER BY "
       "1",
       "bob;dan;eve"},
      {"SELECT name FROM staff WHERE CONNECT_BY_ISLEAF = 0 AND LEVEL > 1 START WITH boss IS NULL CONNECT BY PRIOR id = "
       "boss",
       "cid"},
      {"SELECT CONNECT_BY_ROOT name, name FROM staff WHERE LEVEL = 2 START WITH id IN (1, 3) CONNECT BY PRIOR id = "
       "boss "
       "ORDER BY 1, 2",
       "ann,bob;ann,cid;cid,dan;cid,eve"},
      {"SELECT a, CONNECT_BY_ISCYCLE FROM (SELECT 1 a, 2 b FROM DUAL UNION ALL SELECT 2, 1 FROM DUAL) START WITH a = 1 "
       "CONNECT BY NOCYCLE PRIOR b = a",
       "1,0;2,1"},
      {"SELECT 1 FROM staff START WITH id = 1 CONNECT BY PRIOR id = id", "ORA-01436"},
      {"SELECT CONNECT_BY_ISLEAF FROM staff", "ORA-01788"},
      {"SELECT CONNECT_BY_ISCYCLE FROM staff CONNECT BY PRIOR id = boss", "ORA-30930"}}},
    {"joins",
     {{"SELECT t.title, s.name FROM team t, staff s WHERE t.id = s.team(+) AND s.pay(+) > 2000 ORDER BY 1, 2",
       "north,ann;south,cid;south,dan;west,"},
      {"SELECT t.id FROM team t, staff s WHERE t.id = s.team(+) AND s.id IS NULL", "3"},
      {"SELECT COUNT(*) FROM staff s NATURAL JOIN (SELECT id, title FROM team)", "3"},
      {"SELECT s.id FROM staff s NATURAL JOIN team t", "ORA-25155"},
      {"SELECT s.id FROM staff s JOIN team t USING (id)", "ORA-25154"},
      {"SELECT 1 FROM staff s, team t WHERE s.team(+) = t.id OR s.id = 1", "ORA-01719"},
      {"SELECT 1 FROM staff s, team t WHERE s.team(+) = t.id(+)", "ORA-01468"},
      {"SELECT 1 FROM staff s JOIN team t ON s.team = t.id WHERE s.id(+) = 1", "ORA-25156"}}},
    {"subqueries",
     {{"SELECT CASE WHEN 5 > ALL (1, 2) AND 2 = ANY (1, 2) AND 2 = SOME (1, 2) THEN 'yes' END FROM DUAL", "yes"},
      {"SELECT COUNT(*) FROM DUAL WHERE 1 > ALL (SELECT 1 FROM DUAL WHERE 1 = 2)", "1"},
      {"SELECT COUNT(*) FROM DUAL WHERE 1 > ANY (SELECT 1 FROM DUAL WHERE 1 = 2)", "0"},
      {"SELECT name FROM staff WHERE (team, pay) IN (SELECT team, MIN(pay) FROM staff GROUP BY team) ORDER BY 1",
       "bob;eve"},
      {"SELECT 1 FROM DUAL WHERE (1, 2) = (SELECT 1, 2, 3 FROM DUAL)", "ORA-00913"},
      {"SELECT 1 FROM DUAL WHERE (1, 2) IN (SELECT 1 FROM DUAL)", "ORA-00947"},
      {"SELECT 1 FROM DUAL WHERE 1 < (SELECT id FROM team)", "ORA-01427"},
      {"WITH x AS (SELECT n FROM x) SELECT * FROM x", "ORA-32039"},
      {"WITH x (a, b) AS (SELECT 1 FROM DUAL) SELECT * FROM x", "ORA-32038"},
      {"WITH t (n, s) AS (SELECT 1, 1 FROM DUAL UNION ALL SELECT n + 1, s + n + 1 FROM t WHERE n < 3) SELECT s FROM t",
       "1;3;6"},
      {"(SELECT 1 FROM DUAL UNION SELECT 2 FROM DUAL) MINUS SELECT 2 FROM DUAL UNION SELECT 3 FROM DUAL ORDER BY 1",
       "1;3"},
      {"SELECT 1 FROM DUAL UNION SELECT 'a' FROM DUAL", "ORA-01790"},
      {"SELECT nowhere.NEXTVAL FROM DUAL", "ORA-02289"}}},
    {"merges",
     {{"MERGE INTO team t USING (SELECT 3 k, 'W' v FROM DUAL UNION ALL SELECT 4, 'N' FROM DUAL) s ON (t.id = s.k) WHEN "
       "MATCHED THEN UPDATE SET t.title = s.v WHEN NOT MATCHED THEN INSERT (id, title) VALUES (s.k, s.v)",
       ""},
      {"SELECT id, title FROM team WHERE id > 2 ORDER BY id", "3,W;4,N"},
      {"MERGE INTO team t USING DUAL ON (t.id = 4) WHEN MATCHED THEN UPDATE SET t.title = 'Z' DELETE WHERE t.title = "
       "'Z'",
       ""},
      {"SELECT COUNT(*) FROM team WHERE id = 4", "0"},
      {"MERGE INTO team t USING (SELECT 5 k, 1 w FROM DUAL UNION ALL SELECT 6, 0 FROM DUAL) s ON (t.id = s.k) WHEN NOT "
       "MATCHED THEN INSERT VALUES (s.k, 'M') WHERE s.w = 1",
       ""},
      {"SELECT id FROM team WHERE id > 4", "5"},
      {"MERGE INTO team t USING (SELECT 3 k, 'x' v FROM DUAL UNION ALL SELECT 3, 'y' FROM DUAL) s ON (t.id = s.k) WHEN "
       "MATCHED THEN UPDATE SET title = s.v",
       "ORA-30926"},
      {"MERGE INTO team t USING DUAL ON (t.id = 3) WHEN MATCHED THEN UPDATE SET id = 9", "ORA-38104"},
      {"INSERT FIRST WHEN x > 1 THEN INTO team (id) VALUES (20 + x) WHEN x > 0 THEN INTO team (id) VALUES (10 + x) "
       "SELECT 1 x FROM DUAL UNION ALL SELECT 2 FROM DUAL",
       ""},
      {"SELECT id FROM team WHERE id > 10 ORDER BY id", "11;22"}}},
    {"sequences",
     {{"CREATE SEQUENCE s START WITH 5 INCREMENT BY 2", ""},
      {"SELECT s.NEXTVAL, s.NEXTVAL, s.CURRVAL FROM DUAL", "5,5,5"},
      {"INSERT INTO team (id) SELECT s.NEXTVAL FROM DUAL", ""},
      {"SELECT MAX(id) FROM team", "7"},
      {"SELECT 1 FROM DUAL WHERE s.NEXTVAL > 1", "ORA-02287"},
      {"SELECT DISTINCT s.NEXTVAL FROM DUAL", "ORA-02287"},
      {"SELECT s.NEXTVAL FROM DUAL ORDER BY 1", "ORA-02287"},
      {"SELECT MAX(s.NEXTVAL) FROM DUAL", "ORA-02287"},
      {"SELECT s.NEXTVAL FROM DUAL UNION ALL SELECT 1 FROM DUAL", "ORA-02287"},
      {"SELECT s.NEXTVAL FROM DUAL", "9"}}},
    {"characters",
     {{"CREATE TABLE c (b VARCHAR2(3), c VARCHAR2(3 CHAR), f CHAR(3 CHAR))", ""},
      {"INSERT INTO c (b) VALUES ('éé')", "ORA-12899"},
      {"INSERT INTO c (c, f) VALUES ('ééé', 'é')", ""},
      {"INSERT INTO c (c) VALUES ('éééé')", "ORA-12899"},
      {"INSERT INTO c (f) VALUES ('abcd')", "ORA-12899"},
      {"SELECT c, LENGTH(c), LENGTHB(c), LENGTH(f), LENGTHB(f) FROM c", "ééé,3,6,3,4"},
      {"SELECT COUNT(*) FROM c WHERE f = 'é' AND f = 'é ' AND c = 'ééé'", "1"},
      {"SELECT CAST('éabc' AS VARCHAR2(2 CHAR)), CAST('éabc' AS VARCHAR2(2)) FROM DUAL", "éa,é"},
      {"ALTER TABLE c MODIFY (b VARCHAR2(3 CHAR))", ""},
      {"UPDATE c SET b = c || ''", ""},
      {"SELECT b FROM c", "ééé"}}},
    {"decimal_marks",
     {{"ALTER SESSION SET NLS_NUMERIC_CHARACTERS = ',.'", ""},
      {"SELECT TO_CHAR(1.5), 2.5 || 'x', TO_CHAR(1 / 4), TO_CHAR(1234.5, 'FM9G999D00') FROM DUAL",
       "1,5,2,5x,,25,1.234,50"},
      {"SELECT SUBSTR(1 / 3, 1, 4), LENGTH(0.5) FROM DUAL", ",333,2"},
      {"SELECT '1,5' + 1 - 2.5 FROM DUAL", "0"},
      {"SELECT COUNT(*) FROM staff WHERE pay = '5000,00'", "1"},
      {"SELECT '1.5' + 1 FROM DUAL", "ORA-01722"}}},
    {"faults",
     {{"SELECT FROM DUAL", "ORA-00936"},
      {"SELECT 1, FROM DUAL", "ORA-00936"},
      {"SELECT 1 2 FROM DUAL", "ORA-00923"},
      {"SELECT 1 FROM", "ORA-00903"},
      {"SELECT 1 FROM DUAL WHERE 1", "ORA-00920"},
      {"SELECT 1 FROM DUAL WHERE dummy IS 1", "ORA-00908"},
      {"SELECT 1 FROM DUAL ORDER 1", "ORA-00924"},
      {"SELECT CASE WHEN 1 = 1 1 END FROM DUAL", "ORA-00905"},
      {"SELECT 1 FROM DUAL ORDER BY 2", "ORA-01785"},
      {"SELECT DISTINCT name FROM staff ORDER BY pay", "ORA-01791"},
      {"SELECT 1 FROM team WHERE id IN (SELECT id, title FROM team)", "ORA-00913"},
      {"SELECT CASE id WHEN '1' THEN 1 END FROM team", "ORA-00932"},
      {"SELECT NULLIF(id, 'a') FROM team", "ORA-00932"},
      {"SELECT COALESCE(id, 'a') FROM team", "ORA-00932"},
      {"INSERT INTO team (id, id) VALUES (1, 2)", "ORA-00957"},
      {"INSERT INTO team (id) VALUES (1, 2)", "ORA-00913"},
      {"INSERT INTO team SELECT 1 FROM DUAL", "ORA-00947"},
      {"UPDATE team title = 'x'", "ORA-00971"},
      {"UPDATE team SET title", "ORA-00927"},
      {"FOO BAR", "ORA-00900"}}},
};

INSTANTIATE_TEST_SUITE_P(Of, ClientQueries, ::testing::ValuesIn(groups), rowName);

} // namespace
