#include "tests/fuzz/block_grammar.h"

std::string BlockGrammar::declarations() {
    std::string text = "n NUMBER(9,2) := " + m_sql.value(1) +
                       "; s VARCHAR2(20); d DATE; r t%ROWTYPE; TYPE many IS TABLE OF NUMBER INDEX BY PLS_INTEGER; "
                       "l many; e EXCEPTION; ";
    if (m_bytes.below(2) == 0) text += "PRAGMA EXCEPTION_INIT(e, -1476); ";
    text += "CURSOR c IS " + (m_bytes.below(2) == 0 ? "SELECT a, b, c FROM t FOR UPDATE" : m_sql.query(1)) + "; ";
    text += "FUNCTION f(x NUMBER DEFAULT 1) RETURN NUMBER IS BEGIN RETURN " + m_sql.value(1) + "; END; ";
    return text;
}

std::string BlockGrammar::body(int depth) {
    std::string text = "BEGIN " + statements(depth);
    static constexpr const char* handled[] = {"NO_DATA_FOUND", "e", "VALUE_ERROR OR ZERO_DIVIDE", "OTHERS"};
    if (m_bytes.below(3) == 0)
        text += std::string("EXCEPTION WHEN ") + m_bytes.one_of(handled) + " THEN " + statements(depth - 1);
    return text + "END;";
}

std::string BlockGrammar::statements(int depth) {
    std::string text;
    for (unsigned count = m_bytes.below(3) + 1; count > 0; --count) text += statement(depth) + "; ";
    return text;
}

std::string BlockGrammar::target() {
    static constexpr const char* targets[] = {"n", "s", "d", "r.a", "r.b", "l(n)", ":x"};
    return m_bytes.one_of(targets);
}

std::string BlockGrammar::loop(int depth) {
    switch (m_bytes.below(5)) {
    case 0: return "FOR i IN 1 .. " + m_sql.value(1) + " LOOP " + statements(depth) + "END LOOP";
    case 1: return "FOR q IN (" + m_sql.query(depth) + ") LOOP " + statements(depth) + "END LOOP";
    case 2: return "FOR q IN c LOOP " + statements(depth) + "END LOOP";
    case 3: return "WHILE " + m_sql.condition(1) + " LOOP " + statements(depth) + "EXIT WHEN n > 3; END LOOP";
    default: return "<<o>> LOOP " + statements(depth) + "EXIT o WHEN " + m_sql.condition(1) + "; END LOOP o";
    }
}

std::string BlockGrammar::sql(int depth) {
    switch (m_bytes.below(8)) {
    case 0: return "SELECT a, b INTO n, s FROM t WHERE " + m_sql.condition(depth);
    case 1: return "SELECT a BULK COLLECT INTO l FROM t";
    case 2: return "INSERT INTO u VALUES (" + m_sql.value(depth) + ", s) RETURNING a INTO n";
    case 3: return "FORALL i IN 1 .. l.COUNT UPDATE t SET a = l(i) WHERE " + m_sql.condition(1);
    case 4: return "EXECUTE IMMEDIATE 'SELECT :1 FROM dual' INTO " + target() + " USING " + m_sql.value(1);
    case 5:
        return "EXECUTE IMMEDIATE '" + std::string(m_bytes.below(2) == 0 ? "DELETE FROM u" : "BEGIN :1 := 1; END;") +
               "'";
    default: return m_sql.change(depth);
    }
}

std::string BlockGrammar::statement(int depth) {
    static constexpr const char* fixed[] = {"NULL",
                                            "OPEN c",
                                            "FETCH c INTO r",
                                            "CLOSE c",
                                            "RAISE e",
                                            "RETURN",
                                            "SAVEPOINT p",
                                            "ROLLBACK TO p",
                                            "COMMIT",
                                            "l.DELETE",
                                            "l.DELETE(1)",
                                            "RAISE NO_DATA_FOUND",
                                            "UPDATE t SET a = 1 WHERE CURRENT OF c",
                                            "RAISE_APPLICATION_ERROR(-20001, s)",
                                            "DBMS_OUTPUT.PUT_LINE(s)",
                                            "r := NULL"};
    if (depth <= 0) return m_bytes.one_of(fixed);
    switch (m_bytes.below(9)) {
    case 0: return m_bytes.one_of(fixed);
    case 1:
        return "IF " + m_sql.condition(1) + " THEN " + statements(depth - 1) + "ELSE " + statements(depth - 1) +
               "END IF";
    case 2: return "CASE " + m_sql.value(1) + " WHEN " + m_sql.value(1) + " THEN " + statements(depth - 1) + "END CASE";
    case 3: return loop(depth - 1);
    case 4: return "DECLARE n VARCHAR2(2); " + body(depth - 1) + " NULL";
    case 5:
    case 6: return sql(depth - 1);
    default: return target() + " := " + m_sql.value(2);
    }
}

std::string BlockGrammar::unit() {
    static constexpr const char* timings[] = {"BEFORE INSERT", "AFTER UPDATE OF a", "BEFORE UPDATE OR DELETE",
                                              "AFTER INSERT OR UPDATE OR DELETE"};
    switch (m_bytes.below(4)) {
    case 0: return "CREATE OR REPLACE PROCEDURE p(x IN OUT NUMBER) IS " + declarations() + body(2);
    case 1: return "CREATE OR REPLACE FUNCTION f(x NUMBER) RETURN NUMBER IS " + declarations() + body(2);
    case 2:
        return "CREATE OR REPLACE PACKAGE BODY k IS " + declarations() + "PROCEDURE z IS " + body(2) + " " + body(1);
    default:
        return std::string("CREATE OR REPLACE TRIGGER g ") + m_bytes.one_of(timings) +
               (m_bytes.below(3) == 0 ? " ON t" : " ON t FOR EACH ROW WHEN (NEW.a > 0)") + " DECLARE " +
               declarations() + (m_bytes.below(2) == 0 ? "BEGIN :NEW.a := :OLD.a + 1; END;" : body(2));
    }
}
