#include "util/RuntimeErrorST.h"

#include <gtest/gtest.h>

TEST(RuntimeErrorSTTest, IsARuntimeErrorThatRecordsTheStack) {
    try {
        throw util::RuntimeErrorST("not implemented");
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "not implemented");
        const auto* st = dynamic_cast<const util::RuntimeErrorST*>(&e);
        ASSERT_NE(st, nullptr);
        EXPECT_FALSE(st->stackTrace().empty());
    }
}
