#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"collections",
     {{R"(DECLARE
  TYPE t IS TABLE OF VARCHAR2(10) INDEX BY VARCHAR2(10);
  a t; k VARCHAR2(10);
BEGIN
  a('z') := 'last'; a('a') := 'first'; a('m') := 'mid';
  DBMS_OUTPUT.PUT_LINE(a.FIRST || a.LAST || a.COUNT || a.NEXT('a') || a.PRIOR('z'));
  a.DELETE('m');
  k := a.FIRST;
  WHILE k IS NOT NULL LOOP DBMS_OUTPUT.PUT_LINE(k || '=' || a(k)); k := a.NEXT(k); END LOOP;
  IF NOT a.EXISTS('m') THEN DBMS_OUTPUT.PUT_LINE('gone'); END IF;
  a.DELETE;
  DBMS_OUTPUT.PUT_LINE(a.COUNT || NVL(a.FIRST, 'null'));
END;)",
       R"(az3mm
a=first
z=last
gone
0null)"},
      {R"(DECLARE
  TYPE t IS TABLE OF NUMBER;
  a t := t(10, 20, 30, 40);
BEGIN
  a.DELETE(2);
  DBMS_OUTPUT.PUT_LINE(a.COUNT || ' ' || a.LAST || ' ' || a.NEXT(1));
  a.EXTEND; DBMS_OUTPUT.PUT_LINE(a.LAST || NVL(TO_CHAR(a(5)), 'null'));
  a.EXTEND(2, 1); DBMS_OUTPUT.PUT_LINE(a(7) || ' ' || a.COUNT);
  a.TRIM(2); DBMS_OUTPUT.PUT_LINE(a.COUNT);
  a(2) := 99; DBMS_OUTPUT.PUT_LINE(a(2));
  DBMS_OUTPUT.PUT_LINE(a(100));
END;)",
       R"(3 4 3
5null
10 6
4
99
ORA-06533: Subscript beyond count
ORA-06512: at line 11)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER; a t; BEGIN
  IF a IS NULL THEN DBMS_OUTPUT.PUT_LINE('null'); END IF;
  DBMS_OUTPUT.PUT_LINE(a.COUNT);
END;)",
       R"(null
ORA-06531: Reference to uninitialized collection
ORA-06512: at line 3)"},
      {R"(DECLARE TYPE t IS VARRAY(3) OF NUMBER; a t := t(1, 2); BEGIN
  a.EXTEND; a(3) := 3; DBMS_OUTPUT.PUT_LINE(a.LIMIT || a.COUNT);
  a.EXTEND;
END;)",
       R"(33
ORA-06532: Subscript outside of limit
ORA-06512: at line 3)"},
      {R"(DECLARE TYPE t IS VARRAY(3) OF NUMBER; a t := t(1, 2); BEGIN
  DBMS_OUTPUT.PUT_LINE(a(3));
END;)",
       R"(ORA-06533: Subscript beyond count
ORA-06512: at line 2)"},
      {R"(DECLARE TYPE t IS VARRAY(3) OF NUMBER; a t := t(1, 2); BEGIN
  DBMS_OUTPUT.PUT_LINE(a(4));
END;)",
       R"(ORA-06532: Subscript outside of limit
ORA-06512: at line 2)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER INDEX BY PLS_INTEGER; a t; BEGIN
  a(-5) := 1; a(100) := 2;
  DBMS_OUTPUT.PUT_LINE(a.FIRST || ' ' || a.LAST);
  DBMS_OUTPUT.PUT_LINE(a(3));
END;)",
       R"(-5 100
ORA-01403: no data found
ORA-06512: at line 4)"},
      {R"(DECLARE
  TYPE row_t IS TABLE OF NUMBER INDEX BY PLS_INTEGER;
  TYPE mat IS TABLE OF row_t INDEX BY PLS_INTEGER;
  m mat; s NUMBER := 0;
BEGIN
  FOR i IN 1..3 LOOP FOR j IN 1..3 LOOP m(i)(j) := i * j; END LOOP; END LOOP;
  FOR i IN 1..m.COUNT LOOP FOR j IN 1..m(i).COUNT LOOP s := s + m(i)(j); END LOOP; END LOOP;
  DBMS_OUTPUT.PUT_LINE(s || ' ' || m(2).LAST);
END;)",
       "36 3"},
      {R"(DECLARE
  TYPE t IS TABLE OF NUMBER;
  a t := t(1,2,3); b t := t(3,4); c t;
BEGIN
  c := a MULTISET UNION b; DBMS_OUTPUT.PUT_LINE(c.COUNT);
  c := a MULTISET UNION DISTINCT b; DBMS_OUTPUT.PUT_LINE(c.COUNT);
  c := a MULTISET INTERSECT b; DBMS_OUTPUT.PUT_LINE(c.COUNT || ' ' || c(1));
  c := a MULTISET EXCEPT b; DBMS_OUTPUT.PUT_LINE(c.COUNT);
  IF 2 MEMBER OF a THEN DBMS_OUTPUT.PUT_LINE('member'); END IF;
  IF 9 NOT MEMBER OF a THEN DBMS_OUTPUT.PUT_LINE('not member'); END IF;
  IF a = t(1,2,3) THEN DBMS_OUTPUT.PUT_LINE('equal'); END IF;
  IF a <> b THEN DBMS_OUTPUT.PUT_LINE('unequal'); END IF;
  IF t(1,2) SUBMULTISET OF a THEN DBMS_OUTPUT.PUT_LINE('sub'); END IF;
  c := SET(t(1,1,2)); DBMS_OUTPUT.PUT_LINE(c.COUNT || CARDINALITY(t(5,5)));
  IF t() IS EMPTY THEN DBMS_OUTPUT.PUT_LINE('empty'); END IF;
  IF a IS NOT EMPTY THEN DBMS_OUTPUT.PUT_LINE('not empty'); END IF;
  IF t(1,1) IS NOT A SET THEN DBMS_OUTPUT.PUT_LINE('no set'); END IF;
END;)",
       R"(5
4
1 3
2
member
not member
equal
unequal
sub
22
empty
not empty
no set)"},
      {R"(DECLARE
  TYPE rec IS RECORD (id NUMBER, name VARCHAR2(10));
  TYPE t IS TABLE OF rec INDEX BY PLS_INTEGER;
  a t; b t; r rec;
BEGIN
  a(1).id := 5; a(1).name := 'five'; r.id := 6; a(2) := r;
  b := a; b(1).name := 'changed';
  DBMS_OUTPUT.PUT_LINE(a(1).name || b(1).name || NVL(a(2).name, '-'));
END;)",
       "fivechanged-"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER; a t := t(); BEGIN
  a(1) := 1;
EXCEPTION WHEN SUBSCRIPT_BEYOND_COUNT THEN DBMS_OUTPUT.PUT_LINE('beyond ' || SQLERRM);
END;)",
       "beyond ORA-06533: Subscript beyond count"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER; a t := t(1,2,3); BEGIN
  a.DELETE(2);
  DBMS_OUTPUT.PUT_LINE(a(2));
END;)",
       R"(ORA-01403: no data found
ORA-06512: at line 3)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER INDEX BY PLS_INTEGER; a t; n NUMBER; BEGIN
  a(NULL) := 1;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: NULL index table key value
ORA-06512: at line 2)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER INDEX BY PLS_INTEGER; a t; BEGIN
  a('x') := 1;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: character to number conversion error
ORA-06512: at line 2)"},
      {"DECLARE TYPE t IS TABLE OF NUMBER; a t := t(1,2); BEGIN a.TRIM(3); END;",
       R"(ORA-06533: Subscript beyond count
ORA-06512: at line 1)"},
      {"DECLARE TYPE t IS TABLE OF VARCHAR2(3); a t := t('abcd'); BEGIN NULL; END;",
       R"(ORA-06502: PL/SQL: numeric or value error: character string buffer too small
ORA-06512: at line 1)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER; a t := t(1,2,3); PROCEDURE p(x IN OUT t) IS BEGIN x.EXTEND; x(x.LAST) := 42; END; FUNCTION f RETURN t IS BEGIN RETURN t(7,8); END; BEGIN
  p(a); DBMS_OUTPUT.PUT_LINE(a(4) || ' ' || f()(2) || ' ' || f().COUNT);
  FOR i IN a.FIRST..a.LAST LOOP DBMS_OUTPUT.PUT(a(i) || ','); END LOOP; DBMS_OUTPUT.NEW_LINE;
  FOR i IN REVERSE 1..a.COUNT LOOP DBMS_OUTPUT.PUT(a(i) || ','); END LOOP; DBMS_OUTPUT.NEW_LINE;
  a := NULL; IF a IS NULL THEN DBMS_OUTPUT.PUT_LINE('null again'); END IF;
END;)",
       R"(42 8 2
1,2,3,42,
42,3,2,1,
null again)"},
      {R"(DECLARE TYPE t IS TABLE OF NUMBER INDEX BY PLS_INTEGER; a t; BEGIN
  FOR i IN 1..10 LOOP a(i) := i; END LOOP;
  a.DELETE(3, 7);
  DBMS_OUTPUT.PUT_LINE(a.COUNT || ' ' || a.NEXT(2) || ' ' || a.PRIOR(8));
  a.DELETE(99);
  DBMS_OUTPUT.PUT_LINE(NVL(TO_CHAR(a.NEXT(10)), 'none'));
END;)",
       R"(5 8 2
none)"},
      {R"(DECLARE
  TYPE inner_t IS TABLE OF VARCHAR2(10);
  TYPE outer_t IS TABLE OF inner_t;
  x outer_t := outer_t(inner_t('a','b'), inner_t('c'));
BEGIN
  x.EXTEND; x(3) := inner_t(); x(3).EXTEND; x(3)(1) := 'd';
  FOR i IN 1..x.COUNT LOOP FOR j IN 1..x(i).COUNT LOOP DBMS_OUTPUT.PUT(x(i)(j)); END LOOP; END LOOP;
  DBMS_OUTPUT.NEW_LINE;
END;)",
       "abcd"}}},
};

using BlockCollections = BlockCases;

TEST_P(BlockCollections, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockCollections, ::testing::ValuesIn(groups), name_of_group);

} // namespace
