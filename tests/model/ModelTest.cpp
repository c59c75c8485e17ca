#include "ModelWorld.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

// Random sequences of all operations against plain vectors.
//
// VXDATASTORAGE_MODEL_CASES: sequences to run, 100 unless set; VXDATASTORAGE_MODEL_SEED: their seed. A
// sequence that fails is made as short as possible and printed; it then becomes a test of its own here.

namespace {

using Sequence = std::vector<Operation>;

rc::Gen<Operation> anyOperation()
{
    return rc::gen::map(rc::gen::tuple(rc::gen::inRange(0, static_cast<int>(Act::Count)),
                                       rc::gen::inRange(0, ModelWorld::ARRAYS),
                                       rc::gen::inRange<std::uint32_t>(0, 100000)),
                        [](const std::tuple<int, int, std::uint32_t>& values) {
                            const auto& [act, array, number] = values;
                            return Operation{static_cast<Act>(act), array, number};
                        });
}

void runSequence(const Sequence& sequence)
{
    ModelWorld world;
    for (const Operation& operation : sequence) {
        try {
            world.run(operation);
        } catch (const Difference& difference) {
            std::ostringstream place;
            place << operation;
            throw Difference(place.str() + ": " + difference.what());
        }
    }
    world.finish();
}

std::string fromEnvironment(const char* name, const char* otherwise)
{
    const char* value = std::getenv(name);
    return value ? value : otherwise;
}

} // namespace

TEST(Model, EverySequenceLeavesTheSamplesOfTheModel)
{
    const std::string cases = fromEnvironment("VXDATASTORAGE_MODEL_CASES", "100");
    const std::string seed = fromEnvironment("VXDATASTORAGE_MODEL_SEED", "20240217");
    // Sequences of up to 100 operations, some of twice as many.
    const std::string parameters =
        "max_success=" + cases + " seed=" + seed + " max_size=200 verbose_progress=0";
    ASSERT_EQ(::setenv("RC_PARAMS", parameters.c_str(), 1), 0);
    std::printf("seed %s, %s sequences\n", seed.c_str(), cases.c_str());
    long long operations = 0;
    EXPECT_TRUE(rc::check("samples are those of the model", [&operations] {
        const auto sequence = *rc::gen::container<Sequence>(anyOperation());
        operations += static_cast<long long>(sequence.size());
        runSequence(sequence);
    }));
    std::printf("%lld operations\n", operations);
    EXPECT_GT(operations, 1000);
}
