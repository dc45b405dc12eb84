// Every scenario in every one of some ways, as the parameters of a suite.
#ifndef VELMORA_TESTS_FAULTS_SCENARIOCASES_H
#define VELMORA_TESTS_FAULTS_SCENARIOCASES_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "tests/faults/Scenario.h"

namespace velmora::test {

// `Way` has a NameOf, which begins the next word of a test's name.
template <typename Way>
struct ScenarioCase {
    const Scenario* scenario;
    Way way;
};

template <typename Way>
void PrintTo(const ScenarioCase<Way>& each, std::ostream* out)
{
    *out << each.scenario->name << ", " << NameOf(each.way);
}

template <typename Way>
std::vector<ScenarioCase<Way>> AllScenariosIn(std::initializer_list<Way> ways)
{
    std::vector<ScenarioCase<Way>> cases;
    for (const Scenario& scenario : Scenarios())
        for (const Way way : ways) cases.push_back({&scenario, way});
    return cases;
}

template <typename Way>
std::string NameOfCase(const testing::TestParamInfo<ScenarioCase<Way>>& each)
{
    return std::string(each.param.scenario->name) + NameOf(each.param.way);
}

}  // namespace velmora::test

#endif
