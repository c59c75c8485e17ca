#include <tools/Singleton.h>

#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/config/DynamicEnum.h>
#include <datastorage/config/DynamicEnumHandler.h>

#include <support/Printers.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using vx::datastorage::ConfigDataArrayManager;
using vx::datastorage::DynamicEnum;
using vx::datastorage::DynamicEnumHandler;

std::atomic<int> counterObjects = 0;

class Counter : public nel::tools::Singleton<Counter>
{
public:
    explicit Counter(token /*token*/) { ++counterObjects; }
};

static_assert(!std::is_default_constructible_v<nel::tools::Singleton<Counter>>);
static_assert(!std::is_default_constructible_v<nel::tools::Singleton<Counter>::token>);
static_assert(std::is_empty_v<nel::tools::Singleton<Counter>::token>);
static_assert(std::is_copy_constructible_v<nel::tools::Singleton<Counter>::token>);
static_assert(!std::is_copy_constructible_v<Counter>);
static_assert(!std::is_copy_assignable_v<Counter>);
static_assert(std::is_constructible_v<DynamicEnumHandler, nel::tools::Singleton<DynamicEnumHandler>::token>);
static_assert(!std::is_polymorphic_v<DynamicEnumHandler>);

TEST(Singleton, IsMadeOnceByTheFirstOfManyThreads)
{
    EXPECT_EQ(counterObjects, 0);
    constexpr size_t threadCount = 16;
    std::atomic<size_t> ready = 0;
    std::vector<Counter*> seen(threadCount);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < threadCount) {
                std::this_thread::yield();
            }
            seen[i] = &nel::tools::Singleton<Counter>::instance();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<Counter*>(seen.begin(), seen.end()).size(), 1U);
    EXPECT_EQ(seen[0], &Counter::instance());
    EXPECT_EQ(counterObjects, 1);
}

// The reader in the library files what this program, which is built with hidden symbols, then finds.
TEST(Singleton, IsTheLibrarysObjectInAnApplication)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("configuration.json");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"Version": 1, "Enum": {"Mode": {"Rest": 4}}, "Measures": {}})");
    file.close();
    DynamicEnumHandler& handler = nel::tools::Singleton<DynamicEnumHandler>::instance();
    handler.deleteAll();

    ConfigDataArrayManager manager;
    QString error;
    ASSERT_TRUE(manager.readDataConfiguration(path, 1, error)) << error.toStdString();

    const DynamicEnum* mode = handler.getEnum("Mode");
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->getValue("Rest"), 4);
    EXPECT_EQ(&DynamicEnumHandler::instance(), &handler);
    handler.deleteAll();
}

} // namespace
