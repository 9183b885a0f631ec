// An application that has set a locale with a decimal comma.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <cstdio>
#include <string>

#include "support/TempDir.h"

// Compiled for the test where the machine has none.
class CommaLocale : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) return;
        }
        const std::string folder = dir_.File("de_DE.UTF-8");
        const std::string command =
            "localedef -c -i de_DE -f UTF-8 '" + folder + "' >/dev/null 2>&1";
        static_cast<void>(std::system(command.c_str()));  // it also warns by its status
        setenv("LOCPATH", dir_.Path().c_str(), 1);
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
            GTEST_SKIP() << "no locale with a decimal comma, and localedef makes none here";
        }
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }

    static std::string HalfByPrintf()
    {
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 0.5);
        return text;
    }

    TempDir dir_;
};
