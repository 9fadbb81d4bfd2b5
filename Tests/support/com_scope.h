#pragma once

#include <gtest/gtest.h>

#include <objbase.h>

/// COM on this thread for a scope, free-threaded.
class ComScope {
  public:
    ComScope() { EXPECT_GE(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0); }

    ~ComScope() { ::CoUninitialize(); }

    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};
