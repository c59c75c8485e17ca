#pragma once

#include <string>

/// Names the tests of a table after the member `label` of its rows.
struct RowLabel
{
    template <typename TestInfo>
    std::string operator()(const TestInfo& test) const
    {
        return test.param.label;
    }
};
