#include "tests/client/block_cases.h"

namespace {

const BlockGroup groups[] = {
    {"exceptions",
     {{R"(DECLARE n NUMBER; BEGIN
  SELECT pay INTO n FROM worker WHERE id = 0;
END;)",
       R"(ORA-01403: no data found
ORA-06512: at line 2)"},
      {R"(DECLARE n NUMBER; BEGIN
  SELECT pay INTO n FROM worker;
END;)",
       R"(ORA-01422: exact fetch returns more than requested number of rows
ORA-06512: at line 2)"},
      {R"(BEGIN
  RAISE_APPLICATION_ERROR(-20001, 'my message');
END;)",
       R"(ORA-20001: my message
ORA-06512: at line 2)"},
      {R"(BEGIN
  RAISE_APPLICATION_ERROR(-19999, 'my message');
END;)",
       R"(ORA-21000: error number argument to raise_application_error of -19999 is out of range
ORA-06512: at line 2)"},
      {R"(DECLARE e EXCEPTION; BEGIN
  RAISE e;
END;)",
       R"(ORA-06510: PL/SQL: unhandled user-defined exception
ORA-06512: at line 2)"},
      {R"(DECLARE e EXCEPTION; PRAGMA EXCEPTION_INIT(e, -20010); BEGIN
  RAISE e;
END;)",
       R"(ORA-20010:
ORA-06512: at line 2)"},
      {R"(DECLARE e EXCEPTION; PRAGMA EXCEPTION_INIT(e, -1); BEGIN
  INSERT INTO team VALUES (10, 'x', 'y');
EXCEPTION WHEN e THEN DBMS_OUTPUT.PUT_LINE(SQLCODE);
END;)",
       "-1"},
      {R"(DECLARE e EXCEPTION; PRAGMA EXCEPTION_INIT(e, -2292); BEGIN
  DELETE FROM team WHERE team_no = 10;
EXCEPTION WHEN e THEN DBMS_OUTPUT.PUT_LINE('child found ' || SQLCODE);
END;)",
       "child found -2292"},
      {R"(BEGIN
  RAISE NO_DATA_FOUND;
EXCEPTION WHEN OTHERS THEN
  DBMS_OUTPUT.PUT_LINE(SQLCODE || ' ' || SQLERRM);
END;)",
       "100 ORA-01403: no data found"},
      {R"(DECLARE e EXCEPTION; BEGIN
  RAISE e;
EXCEPTION WHEN OTHERS THEN
  DBMS_OUTPUT.PUT_LINE(SQLCODE || ' ' || SQLERRM);
END;)",
       "1 User-Defined Exception"},
      {R"(BEGIN
  DBMS_OUTPUT.PUT_LINE(SQLCODE || ' ' || SQLERRM);
  DBMS_OUTPUT.PUT_LINE(SQLERRM(-1403));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(100));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(0));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(1));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(-6502));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(-20001));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(-1476));
  DBMS_OUTPUT.PUT_LINE(SQLERRM(5));
END;)",
       R"(0 ORA-0000: normal, successful completion
ORA-01403: no data found
ORA-01403: no data found
ORA-0000: normal, successful completion
User-Defined Exception
ORA-06502: PL/SQL: numeric or value error
ORA-20001:
ORA-01476: divisor is equal to zero
 -5: non-ORACLE exception)"},
      {R"(BEGIN
  RAISE VALUE_ERROR;
EXCEPTION
  WHEN VALUE_ERROR THEN RAISE_APPLICATION_ERROR(-20005, 'wrapped: ' || SQLERRM);
END;)",
       R"(ORA-20005: wrapped: ORA-06502: PL/SQL: numeric or value error
ORA-06512: at line 4)"},
      {R"(DECLARE
  outer_e EXCEPTION;
BEGIN
  DECLARE
    inner_e EXCEPTION;
  BEGIN
    RAISE outer_e;
  EXCEPTION WHEN inner_e THEN DBMS_OUTPUT.PUT_LINE('inner');
  END;
EXCEPTION WHEN outer_e THEN DBMS_OUTPUT.PUT_LINE('outer ' || SQLCODE);
END;)",
       "outer 1"},
      {R"(DECLARE e EXCEPTION; BEGIN
  DECLARE e EXCEPTION; BEGIN
    RAISE e;
  END;
EXCEPTION WHEN e THEN DBMS_OUTPUT.PUT_LINE('same name');
 WHEN OTHERS THEN DBMS_OUTPUT.PUT_LINE('others');
END;)",
       "others"},
      {R"(BEGIN
  RAISE;
END;)",
       R"(ORA-06550: line 2, column 3:
PLS-00367: a RAISE statement with no exception name must be inside an exception handler
ORA-06550: line 2, column 3:
PL/SQL: Statement ignored)"},
      {R"(CREATE OR REPLACE PROCEDURE p1 IS
BEGIN
  RAISE_APPLICATION_ERROR(-20100, 'deep');
END;)",
       ""},
      {R"(CREATE OR REPLACE PROCEDURE p2 IS
BEGIN
  p1;
EXCEPTION
  WHEN NO_DATA_FOUND THEN NULL;
END;)",
       ""},
      {R"(BEGIN
  p2;
END;)",
       R"(ORA-20100: deep
ORA-06512: at "SCOTT.P1", line 3
ORA-06512: at "SCOTT.P2", line 3
ORA-06512: at line 2)"},
      {R"(DECLARE
  PROCEDURE place IS BEGIN
    RAISE TOO_MANY_ROWS;
  END;
BEGIN
  place;
END;)",
       R"(ORA-01422: exact fetch returns more than requested number of rows
ORA-06512: at line 3
ORA-06512: at line 6)"},
      {R"(BEGIN
  INSERT INTO team VALUES (90, 'keep', 'me');
  INSERT INTO team VALUES (10, 'dup', 'me');
END;)",
       "ORA-00001: unique constraint (SCOTT.SYS_C00..."},
      {"SELECT COUNT(*) FROM team WHERE team_no = 90", "0"},
      {R"(BEGIN
  INSERT INTO team VALUES (90, 'keep', 'me');
  BEGIN
    INSERT INTO team VALUES (91, 'inner', 'me');
    RAISE NO_DATA_FOUND;
  EXCEPTION WHEN OTHERS THEN DBMS_OUTPUT.PUT_LINE('handled');
  END;
END;)",
       "handled"},
      {"SELECT COUNT(*) FROM team WHERE team_no >= 90", "2"},
      {"ROLLBACK", ""},
      {R"(DECLARE v VARCHAR2(5); BEGIN
  SELECT title INTO v FROM team WHERE team_no = 10;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: character string buffer too small
ORA-06512: at line 2)"},
      {R"(DECLARE n NUMBER(2); BEGIN
  SELECT pay INTO n FROM worker WHERE id = 7839;
END;)",
       R"(ORA-06502: PL/SQL: numeric or value error: number precision too large
ORA-06512: at line 2)"},
      {R"(DECLARE n NUMBER; BEGIN
  n := TO_NUMBER('12x');
EXCEPTION
  WHEN INVALID_NUMBER THEN DBMS_OUTPUT.PUT_LINE('invalid number');
  WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('value error');
END;)",
       "value error"},
      {R"(DECLARE n NUMBER; BEGIN
  SELECT TO_NUMBER('12x') INTO n FROM dual;
EXCEPTION
  WHEN INVALID_NUMBER THEN DBMS_OUTPUT.PUT_LINE('invalid number ' || SQLCODE);
  WHEN VALUE_ERROR THEN DBMS_OUTPUT.PUT_LINE('value error');
END;)",
       "invalid number -1722"},
      {R"(DECLARE
  e1 EXCEPTION; e2 EXCEPTION;
  PROCEDURE t(n NUMBER) IS BEGIN
    IF n = 1 THEN RAISE e1; ELSIF n = 2 THEN RAISE e2; END IF;
    DBMS_OUTPUT.PUT_LINE('fine');
  EXCEPTION WHEN e1 OR e2 THEN DBMS_OUTPUT.PUT_LINE('caught ' || n);
  END;
BEGIN
  t(1); t(2); t(3);
END;)",
       R"(caught 1
caught 2
fine)"},
      {R"(BEGIN
  BEGIN
    RAISE NO_DATA_FOUND;
  EXCEPTION WHEN NO_DATA_FOUND THEN
    RAISE TOO_MANY_ROWS;
  END;
EXCEPTION WHEN TOO_MANY_ROWS THEN
  DBMS_OUTPUT.PUT_LINE(SQLERRM);
END;)",
       "ORA-01422: exact fetch returns more than requested number of rows"},
      {R"(BEGIN
  BEGIN
    RAISE NO_DATA_FOUND;
  EXCEPTION WHEN NO_DATA_FOUND THEN DBMS_OUTPUT.PUT_LINE(SQLCODE);
  END;
  DBMS_OUTPUT.PUT_LINE(SQLCODE);
END;)",
       R"(100
0)"},
      {R"(BEGIN
  RAISE STANDARD.NO_DATA_FOUND;
EXCEPTION WHEN STANDARD.NO_DATA_FOUND THEN DBMS_OUTPUT.PUT_LINE('std');
END;)",
       "std"}}},
};

using BlockExceptions = BlockCases;

TEST_P(BlockExceptions, doAsOnAServer) {
    run_all();
}

INSTANTIATE_TEST_SUITE_P(Groups, BlockExceptions, ::testing::ValuesIn(groups), name_of_group);

} // namespace
