#pragma once

#include "oci/values/work.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace oci {

/// A regular expression: POSIX extended, with \d \w \s, \D \W \S, non-greedy repeats and back references.
class Regexp {
  public:
    struct Options {
        bool ignore_case = false;
        bool dot_matches_newline = false;
        bool lines = false; ///< ^ and $ match at line ends too
        bool ignore_blanks = false;
    };
    /// Start and end of what a group matched, in characters; npos where it took no part.
    using Groups = std::vector<std::size_t>;
    static constexpr std::size_t npos = std::u32string::npos;

    /// ORA-127nn for what is no regular expression.
    Regexp(std::string_view pattern, const Options& options);
    ~Regexp();
    Regexp(const Regexp&) = delete;
    Regexp& operator=(const Regexp&) = delete;

    /// The first match at or behind a place. Group 0 is the whole match. ORA-12723 when it takes too many steps.
    /// @param work  counts them
    bool search(const std::u32string& text, std::size_t from, Groups& groups, Work& work) const;
    std::size_t groups() const { return m_groups; }

  private:
    struct Step;
    class Parser;
    class Run;

    std::vector<Step> m_program;
    std::size_t m_groups = 0;
    std::size_t m_counters = 0;
    Options m_options;
};

} // namespace oci
