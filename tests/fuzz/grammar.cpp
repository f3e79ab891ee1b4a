#include "tests/fuzz/grammar.h"

std::string Grammar::leaf() {
    if (!m_variables.empty() && m_bytes.below(3) == 0)
        return m_variables[m_bytes.below(static_cast<unsigned>(m_variables.size()))];
    static constexpr const char* leaves[] = {"NULL",
                                             "1",
                                             "-2.5",
                                             "1e3",
                                             "0",
                                             "'x'",
                                             "''",
                                             "'2024-02-29'",
                                             "DATE '2024-02-29'",
                                             "a",
                                             "b",
                                             "c",
                                             "t.a",
                                             "u.d",
                                             ":p",
                                             "ROWNUM",
                                             "SYSDATE",
                                             "q'[y]'",
                                             "'1.50'",
                                             "12345678901234567890",
                                             "LEVEL",
                                             "ROWID",
                                             "INTERVAL '1' DAY",
                                             "TIMESTAMP '2024-02-29 12:00:00.5'",
                                             "USER",
                                             "N'n'"};
    return m_bytes.one_of(leaves);
}

std::string Grammar::call(int depth) {
    static constexpr const char* one[] = {"UPPER",    "LENGTH", "ABS",      "TO_CHAR",  "TO_NUMBER", "TO_DATE",
                                          "TRUNC",    "ROUND",  "TRIM",     "MAX",      "COUNT",     "SUM",
                                          "LAST_DAY", "SQRT",   "RAWTOHEX", "HEXTORAW", "CHR",       "INITCAP"};
    static constexpr const char* two[] = {
        "NVL",  "MOD",   "SUBSTR", "INSTR",  "ADD_MONTHS", "TO_CHAR",  "TO_DATE",        "POWER",
        "LPAD", "ROUND", "TRUNC",  "NULLIF", "COALESCE",   "GREATEST", "MONTHS_BETWEEN", "REGEXP_SUBSTR"};
    static constexpr const char* three[] = {"NVL2",  "DECODE",    "REPLACE", "SUBSTR",
                                            "INSTR", "TRANSLATE", "RPAD",    "REGEXP_REPLACE"};
    const unsigned count = m_bytes.below(3);
    if (count == 0) return std::string(m_bytes.one_of(one)) + "(" + value(depth) + ")";
    if (count == 1) return std::string(m_bytes.one_of(two)) + "(" + value(depth) + ", " + value(depth) + ")";
    return std::string(m_bytes.one_of(three)) + "(" + value(depth) + ", " + value(depth) + ", " + value(depth) + ")";
}

std::string Grammar::value(int depth) {
    if (depth <= 0 || m_bytes.empty()) return leaf();
    static constexpr const char* operators[] = {" + ", " - ", " * ", " / ", " || "};
    switch (m_bytes.below(12)) {
    case 0: return "(" + value(depth - 1) + ")";
    case 1: return "(" + query(depth - 2) + ")";
    case 2:
        return "CASE WHEN " + condition(depth - 1) + " THEN " + value(depth - 1) + " ELSE " + value(depth - 1) + " END";
    case 3: return "CASE " + value(depth - 1) + " WHEN " + value(depth - 1) + " THEN " + value(depth - 1) + " END";
    case 4: return "CAST(" + value(depth - 1) + " AS " + (m_bytes.below(2) == 0 ? "NUMBER(5,2))" : "VARCHAR2(10))");
    case 5: return "SUM(" + value(depth - 1) + ") OVER (PARTITION BY " + leaf() + " ORDER BY " + leaf() + ")";
    case 6:
    case 7: return call(depth - 1);
    case 8: return leaf();
    default: return value(depth - 1) + m_bytes.one_of(operators) + value(depth - 1);
    }
}

std::string Grammar::condition(int depth) {
    static constexpr const char* operators[] = {" = ", " <> ", " < ", " >= ", " LIKE ", " NOT LIKE "};
    if (depth <= 0) return leaf() + m_bytes.one_of(operators) + leaf();
    switch (m_bytes.below(10)) {
    case 0: return condition(depth - 1) + " AND " + condition(depth - 1);
    case 1: return condition(depth - 1) + " OR " + condition(depth - 1);
    case 2: return "NOT (" + condition(depth - 1) + ")";
    case 3: return value(depth - 1) + " IN (" + value(depth - 1) + ", " + value(depth - 1) + ")";
    case 4: return value(depth - 1) + " IN (" + query(depth - 2) + ")";
    case 5: return value(depth - 1) + " BETWEEN " + value(depth - 1) + " AND " + value(depth - 1);
    case 6: return "EXISTS (" + query(depth - 2) + ")";
    case 7: return value(depth - 1) + (m_bytes.below(2) == 0 ? " IS NULL" : " IS NOT NULL");
    case 8: return value(depth - 1) + " >= ALL (" + query(depth - 2) + ")";
    default: return value(depth - 1) + m_bytes.one_of(operators) + value(depth - 1);
    }
}

std::string Grammar::source(int depth) {
    switch (depth <= 0 ? m_bytes.below(3) : m_bytes.below(7)) {
    case 0: return "t";
    case 1: return "u";
    case 2: return "dual";
    case 3: return "t JOIN u ON " + condition(depth - 1);
    case 4: return "t LEFT JOIN u USING (a)";
    case 5: return "(" + query(depth - 1) + ") v";
    default: return "t, u";
    }
}

std::string Grammar::block(int depth) {
    std::string text = m_bytes.below(8) == 0 ? "SELECT DISTINCT " : "SELECT ";
    text += m_bytes.below(6) == 0 ? std::string("*") : value(depth) + " a";
    text += " FROM " + source(depth);
    if (m_bytes.below(2) == 0) text += " WHERE " + condition(depth);
    if (m_bytes.below(8) == 0)
        text += " START WITH " + condition(0) + " CONNECT BY NOCYCLE PRIOR a = a + 1 AND LEVEL < 5";
    if (m_bytes.below(4) == 0)
        text += " GROUP BY " + (m_bytes.below(3) == 0 ? "ROLLUP(" + leaf() + ")" : value(depth - 1));
    if (m_bytes.below(8) == 0) text += " HAVING " + condition(depth - 1);
    return text;
}

std::string Grammar::ending(int depth) {
    std::string text;
    if (m_bytes.below(4) == 0)
        text += " ORDER BY " + value(depth - 1) + (m_bytes.below(2) == 0 ? " DESC NULLS LAST" : "");
    if (m_bytes.below(6) == 0) text += " OFFSET 1 ROWS";
    if (m_bytes.below(5) == 0)
        text += m_bytes.below(2) == 0 ? " FETCH FIRST 2 ROWS ONLY" : " FETCH FIRST 50 PERCENT ROWS WITH TIES";
    return text;
}

std::string Grammar::query(int depth) {
    static constexpr const char* operators[] = {" UNION ", " UNION ALL ", " MINUS ", " INTERSECT "};
    if (depth > 0 && m_bytes.below(8) == 0)
        return "WITH w AS (" + query(depth - 1) + ") SELECT * FROM w" + ending(depth);
    if (depth > 0 && m_bytes.below(6) == 0)
        return block(depth - 1) + m_bytes.one_of(operators) + block(depth - 1) + ending(0);
    return block(depth) + ending(depth);
}

std::string Grammar::insert(int depth) {
    switch (m_bytes.below(4)) {
    case 0: return "INSERT INTO t (a, b) " + query(depth);
    case 1: return "INSERT INTO t VALUES (" + value(depth) + ", " + value(depth) + ", DEFAULT) RETURNING a INTO :r";
    case 2: return "INSERT ALL WHEN a > 1 THEN INTO t (a) VALUES (a) ELSE INTO u (a) VALUES (a) " + query(depth);
    default: return "INSERT INTO u (a, d) VALUES (" + value(depth) + ", " + value(depth) + ")";
    }
}

std::string Grammar::merge(int depth) {
    return "MERGE INTO t USING (" + query(depth) +
           ") s ON (t.a = s.a) WHEN MATCHED THEN UPDATE SET b = " + value(depth) + " DELETE WHERE " + condition(depth) +
           " WHEN NOT MATCHED THEN INSERT (a) VALUES (" + value(depth) + ")";
}

std::string Grammar::change(int depth) {
    switch (m_bytes.below(5)) {
    case 0: return insert(depth);
    case 1: return "UPDATE t SET a = " + value(depth) + " WHERE " + condition(depth);
    case 2: return "UPDATE t SET (a, b) = (" + query(depth) + ")";
    case 3: return "DELETE FROM t WHERE " + condition(depth);
    default: return merge(depth);
    }
}

std::string Grammar::statement() {
    constexpr int depth = 4;
    switch (m_bytes.below(10)) {
    case 0:
    case 1:
    case 2:
    case 3: return change(depth);
    case 4: return query(depth) + " FOR UPDATE";
    default: return query(depth);
    }
}

std::string Grammar::definition() {
    static constexpr const char* types[] = {
        "NUMBER", "NUMBER(5,2)", "VARCHAR2(9)", "CHAR(3)", "DATE", "TIMESTAMP(3)", "INTERVAL DAY TO SECOND",
        "RAW(4)", "CLOB",        "BLOB"};
    static constexpr const char* fixed[] = {"DROP TABLE x CASCADE CONSTRAINTS",
                                            "DROP VIEW v",
                                            "TRUNCATE TABLE u",
                                            "ALTER TABLE t RENAME COLUMN b TO b2",
                                            "ALTER TABLE t DROP COLUMN c",
                                            "ALTER TABLE t RENAME COLUMN b2 TO b",
                                            "DROP SEQUENCE q",
                                            "ALTER TABLE t MODIFY (a NOT NULL)",
                                            "ALTER TABLE t DISABLE ALL TRIGGERS",
                                            "RENAME u TO y",
                                            "RENAME y TO u",
                                            "DROP TRIGGER g",
                                            "DROP INDEX i",
                                            "CREATE SEQUENCE q START WITH 2 INCREMENT BY -1 CACHE 3",
                                            "CREATE SYNONYM s FOR t",
                                            "COMMENT ON COLUMN t.a IS 'a'"};
    switch (m_bytes.below(8)) {
    case 0:
        return std::string("CREATE TABLE x (k ") + m_bytes.one_of(types) + " DEFAULT " + value(1) + ", l " +
               m_bytes.one_of(types) + " CHECK (" + condition(1) + "), PRIMARY KEY (k))";
    case 1: return "CREATE TABLE x AS " + query(3);
    case 2: return "CREATE OR REPLACE VIEW v AS " + query(3);
    case 3: return "ALTER TABLE t ADD (e " + std::string(m_bytes.one_of(types)) + " DEFAULT " + value(1) + ")";
    case 4: return "ALTER TABLE t MODIFY (b " + std::string(m_bytes.one_of(types)) + ")";
    case 5: return "ALTER TABLE t ADD CONSTRAINT n CHECK (" + condition(2) + ")";
    case 6: return "CREATE INDEX i ON t (" + value(1) + ", " + leaf() + " DESC)";
    default: return m_bytes.one_of(fixed);
    }
}
