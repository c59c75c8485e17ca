#include <datastorage/units/Converter.h>

#include <units/UnitFixtures.h>

#include <atomic>
#include <cstddef>

#include <gtest/gtest.h>

// Counts what the whole program takes from the heap, Qt included, by standing in for malloc(). The
// sanitizers do the same for themselves, and other C libraries have no other name for the real one.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#if defined(__has_feature)
#if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer) && !__has_feature(memory_sanitizer)
#define VX_COUNTS_ALLOCATIONS
#endif
#else
#define VX_COUNTS_ALLOCATIONS
#endif
#endif

using namespace vx::datastorage;

namespace {

std::atomic<int> allocations{0};

} // namespace

#ifdef VX_COUNTS_ALLOCATIONS
extern "C" {
void* __libc_malloc(std::size_t size);               // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, std::size_t size); // NOLINT(bugprone-reserved-identifier)

void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

void* realloc(void* block, std::size_t size)
{
    ++allocations;
    return __libc_realloc(block, size);
}
}
#endif

class ParseAllocation : public InitializedConverter
{
protected:
    void SetUp() override
    {
#ifndef VX_COUNTS_ALLOCATIONS
        GTEST_SKIP() << "the heap of this build cannot be counted";
#endif
        InitializedConverter::SetUp();
    }

    /// How often `action` takes memory.
    template <typename Action>
    static int countAllocations(Action action)
    {
        const int before = allocations;
        action();
        return allocations - before;
    }
};

TEST_F(ParseAllocation, IsSeenWhereThereIsOne)
{
    EXPECT_GT(countAllocations([] { EXPECT_EQ(QString(100, u'x').size(), 100); }), 0);
}

TEST_F(ParseAllocation, DoesNotHappenForUnitsAndParameters)
{
    const QString texts[] = {QStringLiteral("mA.h/g"), QStringLiteral("s^1/2"), QStringLiteral("mA.xyz"),
                             QStringLiteral("A.").repeated(1000), QString(1000, u'x')};
    for (const QString& text : texts) {
        EXPECT_EQ(countAllocations([&text] {
                      Converter::getUsualUnitFromString(text);
                      Converter::containsUsualUnit(text);
                      Converter::getPhysicalParameterFromString(text);
                  }),
                  0)
            << text.left(20).toStdString();
    }
}
