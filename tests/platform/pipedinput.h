// A pipe in place of standard input.
#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <utility>

#include <unistd.h>

class PipedInput : public testing::Test {
protected:
    PipedInput() {
        EXPECT_EQ(pipe(ends_), 0);
        dup2(ends_[0], STDIN_FILENO);
        close(ends_[0]);
    }
    ~PipedInput() override {
        Close();
        dup2(before_, STDIN_FILENO);
        close(before_);
    }
    void Write(std::string_view text) {
        EXPECT_EQ(write(ends_[1], text.data(), text.size()), std::ssize(text));
    }
    void Close() { close(std::exchange(ends_[1], -1)); }

private:
    int before_ = dup(STDIN_FILENO);
    int ends_[2];
};
