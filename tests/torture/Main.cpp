// torture: processes that fight for one store, and a check of what is left. See Plan.h for the arguments.
#include <cstdio>
#include <exception>

#include "tests/torture/Driver.h"
#include "tests/torture/Plan.h"
#include "tests/torture/TreeLook.h"
#include "tests/torture/Worker.h"

int main(int argc, char** argv)
{
    using namespace velmora::torture;
    try {
        const Plan plan = ParsePlan(argc, argv);
        if (!plan.look.empty()) return RunTreeLook(plan);
        return plan.worker.empty() ? RunDriver(plan) : RunWorker(plan);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "torture: %s\n%s", fault.what(), argc > 1 && argv[1][0] == '-' ? Usage().c_str() : "");
        return 2;
    }
}
