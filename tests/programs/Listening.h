// A connection listener, so that parameters may be set without an instrument.
#pragma once

#include <gtest/gtest.h>

#include "vrax.h"

class Listening {
public:
    Listening()
    {
        EXPECT_TRUE(VRAXInit([](bool) {}));
    }
    ~Listening() { VRAXFree(); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;
};
