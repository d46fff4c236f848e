#pragma once

// The library as a fresh process finds it: state reset, default regional settings, and a
// recording user interface in place of message boxes. Reset again after the test.

#include <gtest/gtest.h>

#include <memory>

#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"

namespace kvlnmov::testing {

template <class Base = ::testing::Test>
class LibraryFixture : public Base {
  protected:
    void SetUp() override {
        resetLibrary();
        setRegional(Regional{});
        ui = std::make_shared<RecordingUserInterface>();
        setUserInterface(ui);
    }
    void TearDown() override { resetLibrary(); }

    std::shared_ptr<RecordingUserInterface> ui;
};

using LibraryTest = LibraryFixture<>;

}  // namespace kvlnmov::testing
