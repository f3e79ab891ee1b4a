#pragma once

#include <iostream>
#include <string>

namespace inventory {

/// Compares what the database answers with what the program knows from its input.
class Checks {
  public:
    template <typename Value> void same(const std::string& what, const Value& answered, const Value& known) {
        ++m_made;
        if (answered == known) return;
        ++m_failed;
        std::cout << "  MISMATCH: " << what << ": the database says " << answered << ", the input " << known << '\n';
    }

    int made() const { return m_made; }
    int failed() const { return m_failed; }

  private:
    int m_made = 0;
    int m_failed = 0;
};

} // namespace inventory
