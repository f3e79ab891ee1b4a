#include "oci/sql/parser.h"
#include "tests/client/tree_dump.h"

#include <gtest/gtest.h>

using namespace oci;
using namespace oci::sql;

namespace {

constexpr auto row_name = [](const auto& info) { return std::string(info.param.name); };

/// The tree, or the error without its line break.
template <class Parse> std::string parsed(Parse parse) {
    try {
        return parse();
    } catch (const OracleError& error) {
        return error.text().substr(0, error.text().size() - 1);
    }
}

std::string statement(std::string_view text) {
    return parsed([&] {
        Arena arena;
        return TreeDump().statement(*parse_statement(text, arena));
    });
}

/// An expression, alone in its text; of a query's select list in the dialect of SQL.
std::string expression(std::string_view text, Dialect dialect) {
    return parsed([&] {
        Arena arena;
        TokenStream tokens(text, arena, dialect);
        const std::string tree = TreeDump().expression(parse_expression(tokens));
        tokens.expect_end();
        return tree;
    });
}

/// The errors' number, line, column and token.
std::string refusal(std::string_view text) {
    const std::string told = statement(text);
    if (!told.starts_with("ORA-")) return told;
    const auto place = told.rfind("(line ");
    return place == std::string::npos ? told.substr(0, 9) : told.substr(4, 5) + " " + told.substr(place);
}

struct Case {
    const char* text;
    const char* tree;
};

struct Group {
    const char* name;
    std::vector<Case> cases;
};

class ParserTree : public ::testing::TestWithParam<Group> {};
class ParserRefusal : public ::testing::TestWithParam<Group> {};
class ParserValue : public ::testing::TestWithParam<Group> {};
class ParserCondition : public ::testing::TestWithParam<Group> {};
class ParserBlockValue : public ::testing::TestWithParam<Group> {};

TEST_P(ParserTree, isRead) {
    for (const auto& tested : GetParam().cases) EXPECT_EQ(statement(tested.text), tested.tree) << tested.text;
}
TEST_P(ParserRefusal, namesItsPlace) {
    for (const auto& tested : GetParam().cases) EXPECT_EQ(refusal(tested.text), tested.tree) << tested.text;
}
TEST_P(ParserValue, isRead) {
    for (const auto& tested : GetParam().cases)
        EXPECT_EQ(expression(tested.text, Dialect::sql), tested.tree) << tested.text;
}
TEST_P(ParserCondition, isRead) {
    for (const auto& tested : GetParam().cases) {
        const std::string before = "(select 1 T (where ";
        const std::string tree = statement("SELECT 1 FROM t WHERE " + std::string(tested.text));
        EXPECT_EQ(tree, tree.starts_with(before) ? before + tested.tree + "))" : tested.tree) << tested.text;
    }
}
TEST_P(ParserBlockValue, isRead) {
    for (const auto& tested : GetParam().cases)
        EXPECT_EQ(expression(tested.text, Dialect::block), tested.tree) << tested.text;
}

const Group values[] = {
    {"literals",
     {{"1e5", "1e5"},
      {".5", ".5"},
      {"1.5f", "1.5F"},
      {"2D", "2D"},
      {"'it''s'", "'it's'"},
      {"q'[it's]'", "'it's'"},
      {"Q'!a'b!'", "'a'b'"},
      {"n'x'", "N'x'"},
      {"nq'{x}'", "N'x'"},
      {"''", "null"},
      {"DATE '2024-02-29'", "(date 2024-02-29)"},
      {"TIMESTAMP '2024-02-29 1:2:3 +02:00'", "(timestamp 2024-02-29 1:2:3 +02:00)"},
      {"INTERVAL '1-2' YEAR(4) TO MONTH", "(interval 1-2 01:4,6)"},
      {"INTERVAL '1 2:3:4.5' DAY TO SECOND(3)", "(interval 1 2:3:4.5 25:2,3)"},
      {"INTERVAL '1.5' SECOND(3, 2)", "(interval 1.5 55:3,2)"}}},
    {"placeholders", {{":1 + :name + :1 + :\"q\"", "(+ (+ (+ :1/1 :NAME/2) :1/3) :q/4)"}}},
    {"precedence",
     {{"1 + 2 * 3 || 4 - 5", "(- (|| (+ 1 (* 2 3)) 4) 5)"},
      {"-a * b", "(* (neg A) B)"},
      {"a || b * c || d", "(|| (|| A (* B C)) D)"},
      {"(1 + 2) * 3", "(* (+ 1 2) 3)"},
      {"PRIOR a + 1", "(+ (prior A) 1)"},
      {"x AT TIME ZONE 'UTC' - y AT LOCAL", "(- (at X 'UTC') (at Y local))"}}},
    {"names",
     {{"a.b.c", "A.B.C"},
      {"\"a b\".\"C\"", "a b.C"},
      {"s.NEXTVAL", "S.NEXTVAL"},
      {"t.ROWID", "T.ROWID"},
      {"type || case_", "(|| TYPE CASE_)"},
      {"\xC3\xA9t\xC3\xA9", "\xC3\x89T\xC3\x89"},
      {"t.a (+)", "T.A(+)"}}},
    {"calls",
     {{"f(a, b => 1)", "(F A 1 [B])"},
      {"p.f()", "(P.F)"},
      {"COUNT(*)", "(COUNT *)"},
      {"COUNT(DISTINCT a)", "(COUNT distinct A)"},
      {"TRIM(a)", "(TRIM<> A)"},
      {"TRIM(LEADING '0' FROM a)", "(TRIM< A '0')"},
      {"TRIM(BOTH FROM a)", "(TRIM<> A)"},
      {"EXTRACT(DAY FROM a)", "(extract DAY A)"},
      {"CAST(a AS NUMBER(5, 2))", "(cast A NUMBER(5,2))"},
      {"LISTAGG(a, ',') WITHIN GROUP (ORDER BY b DESC)", "(LISTAGG A ',' (within B-))"},
      {"MAX(a) KEEP (DENSE_RANK LAST ORDER BY b NULLS FIRST)", "(MAX A (last B<))"},
      {"NTH_VALUE(a, 2) FROM LAST IGNORE NULLS OVER (ORDER BY b)", "(NTH_VALUE A 2 from-last ignore-nulls (over B))"},
      {"SUM(a) OVER (PARTITION BY b, c ORDER BY d ROWS 2 PRECEDING)", "(SUM A (over (by B C) D rows <2 0))"},
      {"SUM(a) OVER (ORDER BY d RANGE BETWEEN UNBOUNDED PRECEDING AND 1 FOLLOWING)", "(SUM A (over D range << >1))"}}},
    {"cases",
     {{"CASE a WHEN 1 THEN 'x' ELSE 'y' END", "(case (of A) 1->'x' (else 'y'))"},
      {"CASE WHEN a = 1 OR b > 2 THEN NULL END", "(case (or (= A 1) (> B 2))->null)"}}},
    {"conditionsAreNoValues",
     {{"a = 1", "ORA-00933: SQL command not properly ended (line 1, column 3, at =)"},
      {"(a = 1)", "ORA-00907: missing right parenthesis (line 1, column 4, at =)"},
      {"NOT a", "ORA-00936: missing expression (line 1, column 1, at NOT)"},
      {"TRUE", "TRUE"}}},
};
INSTANTIATE_TEST_SUITE_P(Parser, ParserValue, ::testing::ValuesIn(values), row_name);

const Group conditions[] = {
    {"precedence",
     {{"NOT a = 1 AND b = 2 OR c = 3", "(or (and (not (= A 1)) (= B 2)) (= C 3))"},
      {"(a = 1 OR b = 2) AND (c + 1) > 2", "(and (or (= A 1) (= B 2)) (> (+ C 1) 2))"},
      {"((a)) = ((b + 1)) * 2", "(= A (* (+ B 1) 2))"},
      {"a = 1 AND b = 2 AND c = 3", "(and (= A 1) (= B 2) (= C 3))"}}},
    {"predicates",
     {{"a NOT BETWEEN 1 AND 2 AND b = 1", "(and (not-between A 1 2) (= B 1))"},
      {"a NOT LIKE 'x!_' ESCAPE '!'", "(not-like A 'x!_' (escape '!'))"},
      {"a IS NOT NULL AND b IS NAN", "(and (is-not-null A) (is-nan B))"},
      {"a <> 1 AND b ^= 2 AND c != 3 AND d >= 4", "(and (!= A 1) (!= B 2) (!= C 3) (>= D 4))"},
      {"REGEXP_LIKE(a, 'x', 'i')", "(REGEXP_LIKE A 'x' 'i')"},
      {"LNNVL(a = 1)", "(LNNVL (= A 1))"},
      {"a = ANY (1, 2) AND b > ALL (SELECT c FROM u)", "(and (=any A (list 1 2)) (>all B (select C U)))"},
      {"a = SOME (1)", "(=any A (list 1))"}}},
    {"lists",
     {{"a IN (1)", "(in A 1)"},
      {"a NOT IN (1, 2)", "(not-in A 1 2)"},
      {"(a, b) IN ((1, 2), (3, 4))", "(in (list A B) (list 1 2) (list 3 4))"},
      {"(a, b) IN ((1, 2))", "(in (list A B) (list 1 2))"},
      {"(a, b) IN (SELECT c, d FROM u)", "(in (list A B) (select C D U))"},
      {"a IN ((SELECT 1 FROM u) UNION (SELECT 2 FROM u))", "(in A (union (select 1 U) (select 2 U)))"},
      {"((SELECT 1 FROM u) + 1) = a", "(= (+ (select 1 U) 1) A)"},
      {"EXISTS (SELECT * FROM u)", "(exists (select * U))"}}},
    {"refused",
     {{"a", "ORA-00920: invalid relational operator (line 1, column 24, at the end)"},
      {"a AND b = 1", "ORA-00920: invalid relational operator (line 1, column 25, at AND)"},
      {"a = 1 = 1", "ORA-00933: SQL command not properly ended (line 1, column 29, at =)"},
      {"a == 1", "ORA-00936: missing expression (line 1, column 26, at =)"},
      {"a IN ()", "ORA-00936: missing expression (line 1, column 29, at ))"},
      {"a IN 1", "ORA-00906: missing left parenthesis (line 1, column 28, at 1)"},
      {"a ISNULL", "ORA-00920: invalid relational operator (line 1, column 25, at ISNULL)"},
      {"a GLOB 'x'", "ORA-00920: invalid relational operator (line 1, column 25, at GLOB)"},
      {"a IS 1", "ORA-00908: missing NULL keyword (line 1, column 28, at 1)"},
      {"a IN (SELECT b FROM u ORDER BY b)", "ORA-00907: missing right parenthesis (line 1, column 54, at b)"}}},
};
INSTANTIATE_TEST_SUITE_P(Parser, ParserCondition, ::testing::ValuesIn(conditions), row_name);

const Group block_values[] = {
    {"booleans",
     {{"a = 1 AND NOT b OR TRUE", "(or (and (= A 1) (not B)) true)"},
      {"f(a > 1, b => FALSE)", "(F (> A 1) false [B])"}}},
    {"ofCursors", {{"c%FOUND", "(% C FOUND)"}, {"SQL%BULK_ROWCOUNT(i)", "(% SQL BULK_ROWCOUNT (of I))"}}},
    {"ofCollections",
     {{"a(1).b(2).c", "(. (. (A 1) B( 2)) C)"}, {"a.EXISTS(1)", "(A.EXISTS 1)"}, {"a.COUNT", "A.COUNT"}}},
    {"placeholders", {{":x + :y + :x", "(+ (+ :X/1 :Y/2) :X/1)"}, {":new.id", ":NEW.ID/1"}}},
    {"power", {{"-2 ** 3 * 4", "(* (neg (** 2 3)) 4)"}}},
    {"sqlInside",
     {{"(SELECT a = 1 FROM t)", "ORA-00923: FROM keyword not found where expected (line 1, column 11, at =)"}}},
};
INSTANTIATE_TEST_SUITE_P(Parser, ParserBlockValue, ::testing::ValuesIn(block_values), row_name);

const Group trees[] = {
    {"selectLists",
     {{"SELECT * FROM dual", "(select * DUAL)"},
      {"SELECT DISTINCT t.*, s.t.*, a x, b AS \"y\" FROM s.t", "(select-distinct T* S.T* A:X B:y S.T)"},
      {"SELECT /*+ FULL(t) */ 1 first, 2 FROM t -- end", "(select 1:FIRST 2 T)"}}},
    {"sources",
     {{"SELECT 1 FROM a, b x, (SELECT 1 FROM c) d", "(select 1 A B:X (from (select 1 C) D))"},
      {"SELECT 1 FROM a JOIN b ON a.x = b.x LEFT OUTER JOIN c USING (y, z)",
       "(select 1 (left (join A B (on (= A.X B.X))) C [Y Z]))"},
      {"SELECT 1 FROM a JOIN b JOIN c ON 1 = 1 ON 2 = 2", "(select 1 (join A (join B C (on (= 1 1))) (on (= 2 2))))"},
      {"SELECT 1 FROM a NATURAL FULL JOIN (b CROSS JOIN c)", "(select 1 (natural-full A (cross B C)))"},
      {"SELECT 1 FROM TABLE(f(1)) t", "(select 1 (table (F 1) T))"},
      {"SELECT 1 FROM ((SELECT 1 FROM a) UNION SELECT 2 FROM b) x",
       "(select 1 (from (union (select 1 A) (select 2 B)) X))"}}},
    {"setOperators",
     {{"SELECT 1 FROM a UNION ALL SELECT 2 FROM a MINUS (SELECT 3 FROM a INTERSECT SELECT 4 FROM a) ORDER BY 1",
       "(minus (union-all (select 1 A) (select 2 A)) (intersect (select 3 A) (select 4 A))) (order 1)"},
      {"(SELECT 1 FROM a ORDER BY 1 FETCH FIRST ROW ONLY) ORDER BY 2",
       "(select * (from (select 1 A) (order 1) (fetch 1))) (order 2)"}}},
    {"with",
     {{"WITH a AS (SELECT 1 FROM t), b(x, y) AS (SELECT 1, 2 FROM a) SELECT * FROM b",
       "(with A (select 1 T)) (with B[X Y] (select 1 2 A)) (select * B)"}}},
    {"grouping",
     {{"SELECT 1 FROM t GROUP BY a, (b, c), () HAVING a > 1",
       "(select 1 T (group A (list B C) (list)) (having (> A 1)))"},
      {"SELECT 1 FROM t HAVING 1 = 1 GROUP BY ROLLUP(a, (b, c)), CUBE(d)",
       "(select 1 T (group (rollup A (list B C)) (cube D)) (having (= 1 1)))"},
      {"SELECT 1 FROM t GROUP BY GROUPING SETS (a, ROLLUP(b), ())",
       "(select 1 T (group (sets A (rollup B) (list))))"}}},
    {"hierarchies",
     {{"SELECT LEVEL, CONNECT_BY_ROOT a FROM t CONNECT BY NOCYCLE PRIOR a = b START WITH b IS NULL ORDER SIBLINGS BY a",
       "(select LEVEL (root A) T (start (is-null B)) (connect-nocycle (= (prior A) B))) (siblings A)"}}},
    {"limits",
     {{"SELECT 1 FROM t ORDER BY a DESC NULLS LAST OFFSET 2 ROWS FETCH NEXT 10 PERCENT ROWS WITH TIES",
       "(select 1 T) (order A->) (offset 2) (fetch 10% ties)"}}},
    {"locks",
     {{"SELECT 1 FROM t FOR UPDATE OF t.a, b WAIT 5", "(select 1 T) (lock T.A B wait5)"},
      {"SELECT 1 FROM t FOR UPDATE SKIP LOCKED", "(select 1 T) (lock skip)"}}},
    {"inserts",
     {{"INSERT INTO s.t (a, t.b) VALUES (1, DEFAULT)", "(insert S.T [A B] (values 1 default))"},
      {"INSERT INTO t SELECT * FROM u", "(insert T (select * U))"},
      {"INSERT INTO t x (a) (SELECT 1 FROM u)", "(insert T [A] (select 1 U))"},
      {"INSERT INTO t VALUES (:a) RETURNING a, b INTO :b, :c",
       "(insert T (values :A/1) (returning A B into :B/2 :C/3))"},
      {"INSERT ALL INTO a VALUES (x) INTO b (c) VALUES (y) SELECT x, y FROM t",
       "(insert-all A (values X) B [C] (values Y) (select X Y T))"},
      {"INSERT FIRST WHEN x > 1 THEN INTO a ELSE INTO b SELECT x FROM t",
       "(insert-first (when (> X 1)) A else B (select X T))"}}},
    {"updates",
     {{"UPDATE t x SET a = 1, (b, x.c) = (SELECT 1, 2 FROM u), d = DEFAULT WHERE e = 1",
       "(update T (set A = 1) (set B X.C = (select 1 2 U)) (set D = default) (where (= E 1)))"}}},
    {"deletes",
     {{"DELETE t WHERE a = 1", "(delete T (where (= A 1)))"},
      {"DELETE FROM (SELECT * FROM t) x", "(delete (select * T):X)"}}},
    {"merges",
     {{"MERGE INTO t USING (SELECT 1 x FROM dual) s ON (t.a = s.x) WHEN MATCHED THEN UPDATE SET b = 1 WHERE c = 1 "
       "DELETE WHERE b = 2 WHEN NOT MATCHED THEN INSERT (a) VALUES (s.x) WHERE s.x > 1",
       "(merge T (from (select 1:X DUAL) S) (on (= T.A S.X)) (matched (set B = 1) (where (= C 1)) (delete (= B 2))) "
       "(unmatched [A] S.X (where (> S.X 1))))"}}},
    {"others",
     {{"CALL p.q(1) INTO :x", "(call (P.Q 1) (into :X/1))"},
      {"EXPLAIN PLAN SET STATEMENT_ID = 'x' INTO t FOR DELETE t", "(explain (delete T))"},
      {"COMMIT WORK COMMENT 'x' WRITE BATCH NOWAIT", "(commit)"},
      {"ROLLBACK TO SAVEPOINT a", "(rollback-to A)"},
      {"SAVEPOINT \"a\"", "(savepoint a)"},
      {"SET TRANSACTION ISOLATION LEVEL SERIALIZABLE NAME 'x'", "(serializable)"},
      {"LOCK TABLE a, s.b IN SHARE ROW EXCLUSIVE MODE NOWAIT", "(lock A S.B exclusive nowait)"},
      {"LOCK TABLE a IN ROW EXCLUSIVE MODE", "(lock A)"}}},
};
INSTANTIATE_TEST_SUITE_P(Parser, ParserTree, ::testing::ValuesIn(trees), row_name);

const Group refusals[] = {
    {"reservedWords",
     {{"SELECT date FROM t", "00936 (line 1, column 8, at date)"},
      {"SELECT t.size FROM t", "01747 (line 1, column 10, at size)"},
      {"SELECT 1 level FROM t", "00923 (line 1, column 10, at level)"},
      {"SELECT 1 AS user FROM t", "00923 (line 1, column 13, at user)"},
      {"SELECT 1 FROM table", "00903 (line 1, column 15, at table)"},
      {"INSERT INTO t (date) VALUES (1)", "00928 (line 1, column 16, at date)"},
      {"INSERT INTO t (a, comment) VALUES (1, 2)", "01747 (line 1, column 19, at comment)"},
      {"UPDATE t SET size = 1", "01747 (line 1, column 14, at size)"},
      {"SELECT :size FROM t", "01745 (line 1, column 8, at :size)"}}},
    {"otherDialects",
     {{"SELECT 1 FROM t LIMIT 1", "00933 (line 1, column 17, at LIMIT)"},
      {"SELECT 7 % 3 FROM t", "00911 (line 1, column 10, at %)"},
      {"SELECT ~1 FROM t", "00911 (line 1, column 8, at ~)"},
      {"SELECT 1 FROM t AS x", "00933 (line 1, column 17, at AS)"},
      {"SELECT *, a FROM t", "00923 (line 1, column 9, at ,)"},
      {"SELECT a, * FROM t", "00936 (line 1, column 11, at *)"},
      {"SELECT 1", "00923 (line 1, column 9, at the end)"},
      {"INSERT INTO t VALUES (1), (2)", "00933 (line 1, column 25, at ,)"},
      {"PRAGMA user_version", "00900 (line 1, column 1, at PRAGMA)"}}},
    {"characters",
     {{"DELETE FROM a \\ WHERE n = 1", "00911 (line 1, column 15, at \\)"},
      {"SELECT\n  \xC3\xA9, \xC2\xA0 FROM t", "00911 (line 2, column 6, at \xC2\xA0)"},
      {"SELECT 1 FROM t\nWHERE a = 'x", "01756 (line 2, column 11, at ')"},
      {"SELECT q'[x]", "01756 (line 1, column 8, at q)"},
      {"SELECT \"a FROM t", "01740 (line 1, column 8, at \")"},
      {"SELECT \"\" FROM t", "01741 (line 1, column 8, at \"\")"},
      {"SELECT 1 FROM t; SELECT 2 FROM t", "00911 (line 1, column 16, at ;)"},
      {"SELECT 1 FROM t;", "00911 (line 1, column 16, at ;)"}}},
    {"clauses",
     {{"SELECT FROM t", "00936 (line 1, column 8, at FROM)"},
      {"SELECT 1 FROM", "00903 (line 1, column 14, at the end)"},
      {"SELECT 1 FROM t WHERE", "00936 (line 1, column 22, at the end)"},
      {"SELECT 1 FROM t GROUP a", "00924 (line 1, column 23, at a)"},
      {"SELECT 1 FROM t JOIN u", "00905 (line 1, column 23, at the end)"},
      {"SELECT (1 FROM t", "00907 (line 1, column 11, at FROM)"},
      {"SELECT 1 FROM t x y", "00933 (line 1, column 19, at y)"},
      {"SELECT 1 FROM t UNION DELETE t", "00928 (line 1, column 23, at DELETE)"},
      {"INSERT t VALUES (1)", "00925 (line 1, column 8, at t)"},
      {"INSERT INTO t VALUES (1 2)", "00917 (line 1, column 25, at 2)"},
      {"INSERT INTO t VALUES 1", "00906 (line 1, column 22, at 1)"},
      {"INSERT INTO t (a)", "00926 (line 1, column 18, at the end)"},
      {"UPDATE t AS x SET a = 1", "00971 (line 1, column 10, at AS)"},
      {"UPDATE t SET a 1", "00927 (line 1, column 16, at 1)"},
      {"MERGE INTO t ON", "02012 (line 1, column 14, at ON)"},
      {"COMMIT x", "02185 (line 1, column 8, at x)"},
      {"ROLLBACK x", "02181 (line 1, column 10, at x)"}}},
    {"notCarried",
     {{"SELECT 1 FROM t SAMPLE (10)", "03001 (line 1, column 17, at SAMPLE)"},
      {"SELECT 1 FROM t AS OF TIMESTAMP x", "03001 (line 1, column 17, at AS)"},
      {"SELECT 1 FROM t PIVOT (MAX(a) FOR b IN (1))", "03001 (line 1, column 17, at PIVOT)"},
      {"SELECT 1 FROM t@link", "03001 (line 1, column 16, at @)"},
      {"DELETE t LOG ERRORS", "03001 (line 1, column 10, at LOG)"}}},
};
INSTANTIATE_TEST_SUITE_P(Parser, ParserRefusal, ::testing::ValuesIn(refusals), row_name);

TEST(Parser, refusesANulByteAnywhere) {
    using namespace std::string_view_literals;
    for (const auto text : {"DELETE FROM a \0 WHERE n = 1"sv, "SELECT 'a\0b' FROM t"sv, "SELECT 1 /* \0 */ FROM t"sv}) {
        EXPECT_EQ(refusal(text).substr(0, 5), "00911") << text;
    }
}

struct TypeCase {
    const char* text;
    const char* declaration;
};

TEST(Parser, readsTypes) {
    const TypeCase cases[] = {
        {"NUMBER", "NUMBER"},
        {"NUMBER(*, 2)", "NUMBER(38,2)"},
        {"number(5, -2)", "NUMBER(5,-2)"},
        {"DECIMAL", "NUMBER(38,0)"},
        {"INTEGER", "INTEGER"},
        {"DOUBLE PRECISION", "FLOAT(126)"},
        {"VARCHAR2(10 CHAR)", "VARCHAR2(10 CHAR)"},
        {"CHARACTER VARYING (7)", "VARCHAR2(7)"},
        {"NCHAR", "NCHAR(1)"},
        {"LONG RAW", "LONG RAW"},
        {"NUMBER(39)", "ORA-01727: numeric precision specifier is out of range (1 to 38) (line 1, column 8, at 39)"},
        {"VARCHAR2", "ORA-00906: missing left parenthesis (line 1, column 9, at the end)"},
        {"VARCHAR2(4001)", "ORA-00910: specified length too long for its datatype (line 1, column 10, at 4001)"},
        {"TIMESTAMP(10)", "ORA-30088: datetime/interval precision is out of range (line 1, column 10, at ()"},
        {"MONEY", "ORA-00902: invalid datatype (line 1, column 1, at MONEY)"},
    };
    for (const auto& tested : cases) {
        const std::string declaration = parsed([&] {
            Arena arena;
            TokenStream tokens(tested.text, arena);
            return parse_column_type(tokens).declaration();
        });
        EXPECT_EQ(declaration, tested.declaration) << tested.text;
    }
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

TEST(Parser, takesLongTextsWithoutDepth) {
    const std::string texts[] = {
        "SELECT 1 FROM t WHERE a IN (1" + repeated(", 22", 1'000'000) + ")",
        "INSERT INTO t VALUES (:a" + repeated(", :b", 65'000) + ")",
        "SELECT 1 FROM t WHERE a = 1" + repeated(" OR a = 1", 9'999),
        "SELECT 'a'" + repeated(" || 'b'", 100'000) + " FROM t",
        "SELECT 1 FROM t /* " + std::string(100'000'000, 'x') + " */",
    };
    for (const auto& text : texts) {
        Arena arena;
        EXPECT_NO_THROW(parse_statement(text, arena)) << text.substr(0, 40);
    }
}

TEST(Parser, refusesWhatIsTooDeep) {
    for (const char* opening : {"(", "- ", "f(", "(SELECT ", "CASE WHEN ", "NOT (", "CASE "}) {
        EXPECT_EQ(statement("SELECT 1 FROM t WHERE " + repeated(opening, 100'000)).substr(0, 9), "ORA-03001")
            << opening;
    }
    EXPECT_EQ(statement("SELECT 1 FROM " + repeated("(", 100'000)).substr(0, 9), "ORA-03001");
    EXPECT_EQ(statement(repeated("(", 100'000)).substr(0, 9), "ORA-03001");
    EXPECT_EQ(statement("SELECT 1" + repeated(" + 1", 100'000) + " FROM t").substr(0, 9), "ORA-03001");
    EXPECT_EQ(statement(repeated("EXPLAIN PLAN FOR ", 100'000)).substr(0, 9), "ORA-03001");
}

} // namespace
