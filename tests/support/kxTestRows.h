// Tables of cases that differ in what goes in and what comes out.
#pragma once

#include <gtest/gtest.h>

#include <string>

struct kxTestRow {
    const char* why;
    std::string text, expected;
};

// The function answers for each row what the row expects. Rows of any struct with these two members will do.
template <typename Rows, typename Function> void kxExpectRows(const Rows& rows, Function function)
{
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(function(row), row.expected);
    }
}
