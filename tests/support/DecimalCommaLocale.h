#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

namespace ormex::test {

// While it lives, the process's C locale writes decimals with a comma (de_DE.UTF-8), as a Qt
// program on a till set up that way has it: printf and strtod then write and read "12,5".
// available() is false when the machine has no such locale; the test is then skipped, unless
// ORMEX_REQUIRE_DECIMAL_COMMA is set (CI generates the locale and sets it), where it fails.
class DecimalCommaLocale
{
public:
    DecimalCommaLocale() : m_before(std::setlocale(LC_ALL, nullptr))
    {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
            if (std::setlocale(LC_ALL, name)) {
                m_available = true;
                break;
            }
    }
    ~DecimalCommaLocale() { std::setlocale(LC_ALL, m_before.c_str()); }
    DecimalCommaLocale(const DecimalCommaLocale&) = delete;
    DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

    bool available() const { return m_available; }
    static bool required() { return std::getenv("ORMEX_REQUIRE_DECIMAL_COMMA") != nullptr; }

private:
    std::string m_before;
    bool m_available = false;
};

} // namespace ormex::test

// Skips the test on a machine without a decimal-comma locale, or fails it where one is required.
#define ORMEX_WITH_DECIMAL_COMMA(guard)                                                                      \
    ::ormex::test::DecimalCommaLocale guard;                                                                 \
    if (!guard.available()) {                                                                                \
        if (::ormex::test::DecimalCommaLocale::required()) FAIL() << "no decimal-comma locale here";         \
        GTEST_SKIP() << "no decimal-comma locale here (locale-gen de_DE.UTF-8)";                             \
    }
