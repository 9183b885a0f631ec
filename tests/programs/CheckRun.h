// A run of `vrax check` and what it tells in JSON.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/Command.h"
#include "support/EdfWriter.h"
#include "support/TempDir.h"

using Json = nlohmann::json;

class CheckTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        const std::string path = dir_.File(name);
        WriteRecordFile(path, bytes);
        return path;
    }

    static Json Run(const std::string& arguments)
    {
        const CommandOutcome run = RunCommand(VRAX_PROGRAM " --json check " + arguments);
        Json told = Json::parse(run.output, nullptr, false);
        EXPECT_TRUE(told.is_object()) << run.output;
        EXPECT_EQ(run.status, told.value("taken", false) ? 0 : 1) << run.output;
        return told;
    }

    // The file is refused with this code, and this one field is told as the reason.
    static void ExpectRefused(const std::string& arguments, int code, const std::string& field,
                              long offset)
    {
        SCOPED_TRACE(arguments + " " + field);
        const Json told = Run(arguments);
        EXPECT_FALSE(told["taken"]);
        EXPECT_EQ(told["loads"].back()["code"], code) << told.dump(1);
        std::vector<Json> broken;
        for (const Json& each : told["fields"]) {
            if (each.contains("rule")) broken.push_back(each);
        }
        ASSERT_EQ(broken.size(), 1U) << told.dump(1);
        EXPECT_EQ(broken[0]["field"], field);
        EXPECT_EQ(broken[0]["offset"], offset);
    }

    static Json Field(const Json& told, const std::string& name)
    {
        for (const Json& field : told["fields"]) {
            if (field["field"] == name) return field;
        }
        ADD_FAILURE() << name << " is not told in " << told.dump(1);
        return Json::object();
    }

    TempDir dir_;
};
