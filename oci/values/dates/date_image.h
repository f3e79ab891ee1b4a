#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace oci {

/// Eight characters of which those that stand at a '0' of the pattern have to be digits and the others have to be the
/// pattern's: checked and converted all at once.
class DigitPairs {
  public:
    consteval explicit DigitPairs(const char (&pattern)[9]) {
        static_assert(std::endian::native == std::endian::little);
        for (unsigned i = 0; i < 8; ++i) {
            const auto byte = static_cast<std::uint64_t>(pattern[i]);
            m_pattern |= byte << (8 * i);
            m_room |= (byte == '0' ? std::uint64_t{0x7F - 9} : std::uint64_t{0x7F}) << (8 * i);
        }
    }

    /// Byte i of the result is the number that the digits at i and i + 1 make.
    /// @param wrong  set when a character is not what it has to be
    std::uint64_t read(const char* text, bool& wrong) const {
        std::uint64_t digits = 0;
        std::memcpy(&digits, text, sizeof digits);
        digits ^= m_pattern;
        wrong |= ((digits | (digits + m_room)) & 0x8080808080808080U) != 0;
        return digits * 10 + (digits >> 8);
    }

  private:
    std::uint64_t m_pattern = 0;
    std::uint64_t m_room = 0; ///< what a byte may be increased by without reaching its highest bit
};

/// The 7-byte image of a date that is written YYYY-MM-DD HH:MM:SS. @return false when the text is not of that form.
inline bool write_date_image(const char* text, unsigned char* image) {
    static constexpr DigitPairs date("0000-00-");
    static constexpr DigitPairs day("00 00:00");
    static constexpr DigitPairs time("00:00:00");
    bool wrong = false;
    const std::uint64_t first = date.read(text, wrong);
    const std::uint64_t second = day.read(text + 8, wrong);
    const std::uint64_t third = time.read(text + 11, wrong);
    const auto pair = [](std::uint64_t pairs, unsigned at) {
        return static_cast<std::uint32_t>(pairs >> (8 * at)) & 0xFF;
    };
    const std::uint32_t front =
        (pair(first, 0) | pair(first, 2) << 8 | pair(first, 5) << 16 | pair(second, 0) << 24) + 0x6464;
    const std::uint32_t back = (pair(third, 0) | pair(third, 3) << 8 | pair(third, 6) << 16) + 0x010101;
    // In few and disjoint pieces: who reads a row at once would wait for smaller or overlapping ones.
    std::memcpy(image, &front, 4);
    std::memcpy(image + 4, &back, 2);
    image[6] = static_cast<unsigned char>(back >> 16);
    return !wrong;
}

/// The text YYYY-MM-DD HH:MM:SS of a 7-byte image. @return false when the image is no date of the years 1 to 9999.
inline bool write_image_text(const unsigned char* image, char* text) {
    static constexpr auto pairs = [] {
        std::array<char, 200> digits{};
        for (unsigned i = 0; i < 200; ++i) digits[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
        return digits;
    }();
    static constexpr unsigned char days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    // Unsigned differences: what lies below a field's range lies far above it.
    const unsigned century = image[0] - 100U;
    const unsigned year = image[1] - 100U;
    const unsigned month = image[2] - 1U;
    const unsigned day = image[3] - 1U;
    const unsigned hour = image[4] - 1U;
    const unsigned minute = image[5] - 1U;
    const unsigned second = image[6] - 1U;
    if (century > 99 || year > 99 || century + year == 0 || month > 11 || hour > 23 || minute > 59 || second > 59)
        return false;
    const bool leap = year % 4 == 0 && (year != 0 || century % 4 == 0);
    if (day >= days[month] + (month == 1 && leap ? 1U : 0U)) return false;
    std::memcpy(text, "0000-00-00 00:00:00", 19);
    const auto put = [text](unsigned at, unsigned number) { std::memcpy(text + at, &pairs[number * 2], 2); };
    put(0, century);
    put(2, year);
    put(5, month + 1);
    put(8, day + 1);
    put(11, hour);
    put(14, minute);
    put(17, second);
    return true;
}

} // namespace oci
