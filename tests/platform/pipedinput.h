// A pipe in place of standard input.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include <unistd.h>

class PipedInput : public testing::Test {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        before_ = dup(STDIN_FILENO);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        writer_ = ends[1];
    }
    void TearDown() override {
        Close();
        dup2(before_, STDIN_FILENO);
        close(before_);
    }
    void Write(const std::string& text) {
        ASSERT_EQ(write(writer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void Close() {
        if (writer_ >= 0) { close(writer_); }
        writer_ = -1;
    }

private:
    int before_ = -1;
    int writer_ = -1;
};
