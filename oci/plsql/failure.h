#pragma once

#include "oci/values/block_error_codes.h"
#include "oci/values/errors.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace oci::plsql {

/// An exception that a block declares, or that the language has a name for.
struct ExceptionName {
    std::string name;
    int code = 0; ///< the ORA- number that it stands for; 0: none
};

/// An exception on its way to a handler.
class Failure {
  public:
    explicit Failure(const OracleError& error) : m_code(error.code()), m_text(error.text()) {}
    /// RAISE name
    explicit Failure(const ExceptionName& raised);
    /// RAISE_APPLICATION_ERROR
    /// @param on_top  of what is being handled, which is told behind it
    static Failure of_application(int code, std::string_view text, bool on_top);
    /// RAISE in a handler: what it was entered for, on its way again.
    static Failure again(const Failure& handled);

    /// The number of what was raised; 1 of an exception that has none.
    int code() const { return m_code; }
    bool is(const ExceptionName& name) const { return m_raised == &name || (name.code != 0 && name.code == m_code); }
    /// SQLCODE: negative, but 100 of NO_DATA_FOUND and 1 of an exception without a number.
    int sqlcode() const { return m_code == error::no_data_found ? 100 : m_code == user_defined ? 1 : -m_code; }
    /// SQLERRM: the text without a line break at its end.
    std::string message() const;
    /// The text with what was being handled when it was raised.
    std::string stack() const { return m_text + m_previous; }
    /// The lines that tell where: "ORA-06512: at line 3".
    std::string backtrace() const { return m_places + m_caught_at; }

    /// To be called where a routine or block is left.
    /// @param unit  the routine as the server names it; empty of a block without a name
    void passes(std::string_view unit, unsigned line);
    /// To be called where a handler for it is entered.
    void caught(std::string_view unit, unsigned line);
    /// To be called where it leaves a handler that was entered for another one.
    void leaves_handler_of(const Failure& handled);
    /// The error of a trigger: what it was raised for is told with it.
    void add_line(std::string_view line);

    /// What a caller outside of PL/SQL gets: the text with its backtrace.
    OracleError error() const;

    static constexpr int user_defined = 6510;

  private:
    int m_code;
    std::string m_text;     ///< ends in a line break, as the following do unless they are empty
    std::string m_places;   ///< where it came through
    std::string m_told;     ///< the same with the stacks of what was being handled
    std::string m_previous; ///< those stacks
    std::string m_pending;  ///< a stack that belongs behind the next place
    std::string m_caught_at;
    bool m_stands_alone = false; ///< says nothing of what was being handled
    const ExceptionName* m_raised = nullptr;
};

/// The exception of this name that needs no declaration; null when there is none.
const ExceptionName* predefined_exception(std::string_view name);

/// SQLERRM(number)
std::string message_of(int sqlcode);

/// An error of compilation. What only a missing object makes one is kept apart: a routine may be made before what it
/// refers to.
class CompileError {
  public:
    CompileError(std::string text, bool missing_object) : m_text(std::move(text)), m_missing(missing_object) {}

    OracleError error() const { return OracleError::from_text("ORA-06550: " + m_text); }
    /// Tells, once, what is left out because of it: a statement or a declaration.
    /// @param place  "line 2, column 5:"
    void leaves_out(std::string_view place, std::string_view what);
    bool missing_object() const { return m_missing; }

  private:
    std::string m_text;
    bool m_missing;
    bool m_placed = false;
};

/// What is being handled, as what a handler of a block may be for. Anything else goes on its way.
Failure current_failure();

struct Unit;
/// "line 2, column 5:" with the text.
std::string compile_message(const Unit& unit, std::uint32_t at, std::string_view text);

/// ORA-06550 at run time, of what compilation cannot know.
[[noreturn]] void refuse(std::string_view text);

} // namespace oci::plsql
