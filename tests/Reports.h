// What a call writes to the standard error stream.
#ifndef TESTS_REPORTS_H
#define TESTS_REPORTS_H

#include <gtest/gtest.h>
#include <string>

template<class Call>
std::string reports_of(Call call) {
    ::testing::internal::CaptureStderr();
    call();
    return ::testing::internal::GetCapturedStderr();
}

#endif
