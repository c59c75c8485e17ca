#include <datastorage/cache/CacheReadManager.h>
#include <datastorage/cache/MappedFaultGuard_p.h>

#include <support/CacheFileBytes.h>

#include <QtCore/QTemporaryDir>
#include <QtCore/QTemporaryFile>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// Mapped files that somebody cuts short, and the signal that this raises.

using vx::datastorage::CacheReadManager;
using vx::datastorage::MappedFaultGuard;

namespace {

constexpr std::int32_t MISSING = 2143289344;
constexpr int COUNT = 100'000;

class CutShortFile : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        std::vector<std::int32_t> values;
        values.reserve(COUNT);
        for (int i = 0; i < COUNT; ++i)
            values.push_back(i + 1);
        m_content = cachefile::file(values);
        m_samplesPerPage = ::sysconf(_SC_PAGESIZE) / 4;
    }

    /// Takes the guard away too: the next test may want another handler below it.
    void TearDown() override
    {
        CacheReadManager::instance().closeAll();
        MappedFaultGuard::remove();
    }

    QString path(int number) const { return m_directory.filePath(QString::number(number)); }

    int mapNew()
    {
        const int id = CacheReadManager::instance().getFreeId();
        EXPECT_TRUE(cachefile::write(path(id), m_content));
        EXPECT_TRUE(CacheReadManager::instance().initialize(id, path(id)));
        return id;
    }

    /// Leaves `samples` samples in the file that is mapped under `id`.
    void cut(int id, qint64 samples) const { ASSERT_TRUE(QFile::resize(path(id), 16 + 4 * samples)); }

    static std::int32_t sample(int id, qint64 index)
    {
        return CacheReadManager::instance().getSampleDirect(id, index).intValue;
    }

    QTemporaryDir m_directory;
    QByteArray m_content;
    qint64 m_samplesPerPage = 0;
};

TEST_F(CutShortFile, ReadsAsMissingBehindItsNewEnd)
{
    const int id = mapNew();
    ASSERT_EQ(sample(id, COUNT - 1), COUNT);
    cut(id, 1000);
    EXPECT_EQ(sample(id, COUNT - 1), MISSING);
    EXPECT_EQ(sample(id, COUNT / 2), MISSING);
    EXPECT_EQ(sample(id, 999), 1000);
    EXPECT_EQ(sample(id, 0), 1);
}

TEST_F(CutShortFile, ReadsAsMissingFromItsNewEndOnOnceThatWasNoticed)
{
    const int id = mapNew();
    cut(id, 1000);
    ASSERT_EQ(sample(id, COUNT - 1), MISSING);
    for (int index = 0; index < 1000; ++index)
        ASSERT_EQ(sample(id, index), index + 1);
    for (int index = 1000; index < COUNT; ++index)
        ASSERT_EQ(sample(id, index), MISSING) << index;
}

TEST_F(CutShortFile, CanBeReadInOrder)
{
    const int id = mapNew();
    cut(id, 50'000);
    for (int index = 0; index < 50'000; ++index)
        ASSERT_EQ(sample(id, index), index + 1);
    // The rest of the last page is filled with zero bits by the system.
    const qint64 nextPage = ((50'000 + 4) / m_samplesPerPage + 1) * m_samplesPerPage - 4;
    for (qint64 index = nextPage; index < COUNT; ++index)
        ASSERT_EQ(sample(id, index), MISSING) << index;
}

TEST_F(CutShortFile, CanLoseEverything)
{
    const int id = mapNew();
    ASSERT_TRUE(QFile::resize(path(id), 0));
    EXPECT_EQ(sample(id, COUNT - 1), MISSING);
    EXPECT_EQ(sample(id, 0), MISSING);
}

TEST_F(CutShortFile, CanBeCutAgain)
{
    const int id = mapNew();
    for (const int left : {90'000, 60'000, 10'000, 5}) {
        SCOPED_TRACE(left);
        cut(id, left);
        EXPECT_EQ(sample(id, left + 5000), MISSING);
        EXPECT_EQ(sample(id, left - 1), left);
    }
}

TEST_F(CutShortFile, CanBeMappedAgain)
{
    const int id = mapNew();
    cut(id, 1000);
    ASSERT_EQ(sample(id, COUNT - 1), MISSING);
    EXPECT_FALSE(CacheReadManager::instance().initialize(id, path(id))) << "its count is too high now";
    EXPECT_EQ(sample(id, 0), MISSING);
    ASSERT_TRUE(cachefile::write(path(id), m_content));
    ASSERT_TRUE(CacheReadManager::instance().initialize(id, path(id)));
    for (int index = 0; index < COUNT; ++index)
        ASSERT_EQ(sample(id, index), index + 1);
}

TEST_F(CutShortFile, LeavesOtherMappingsAlone)
{
    const int before = mapNew();
    const int id = mapNew();
    const int behind = mapNew();
    cut(id, 10);
    ASSERT_EQ(sample(id, COUNT - 1), MISSING);
    for (int index = 0; index < COUNT; ++index) {
        ASSERT_EQ(sample(before, index), index + 1);
        ASSERT_EQ(sample(behind, index), index + 1);
    }
}

TEST_F(CutShortFile, KeepsErrno)
{
    const int id = mapNew();
    cut(id, 10);
    errno = ENOTTY;
    const std::int32_t value = sample(id, COUNT - 1);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(value, MISSING);
}

TEST_F(CutShortFile, CanBeReadBySeveralThreads)
{
    constexpr int threadCount = 4;
    constexpr int kept = 30'000;
    std::vector<int> ids;
    ids.reserve(8);
    for (int i = 0; i < 8; ++i)
        ids.push_back(mapNew());
    std::atomic<int> ready{0};
    std::atomic<bool> isCut{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&, number] {
            ++ready;
            bool last = false;
            while (!last) {
                last = isCut;
                for (const int id : ids) {
                    for (int index = number; index < COUNT; index += 997) {
                        const std::int32_t value = sample(id, index);
                        const bool lost = value == MISSING || value == 0;
                        if (value != index + 1 && (index < kept || !lost))
                            ++wrong;
                    }
                }
            }
        });
    }
    while (ready < threadCount)
        std::this_thread::yield();
    for (const int id : ids)
        cut(id, kept);
    isCut = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

// Signals that have nothing to do with cache files

/// Memory behind the end of its file: reading it raises the signal.
class ForeignMemory
{
public:
    ForeignMemory()
    {
        m_file.open();
        m_file.resize(4096);
        m_bytes = m_file.map(0, 4096);
        m_file.resize(0);
    }
    const volatile uchar* bytes() const { return m_bytes; }

private:
    QTemporaryFile m_file;
    uchar* m_bytes = nullptr;
};

sigjmp_buf afterSignal; // NOLINT
std::atomic<bool> isSignalExpected{false};
std::atomic<int> plainSignals{0};
std::atomic<int> detailedSignals{0};
std::atomic<void*> signalAddress{nullptr};

/// Goes on behind the access that raised the signal.
[[noreturn]] void leaveHandler()
{
    if (!isSignalExpected.exchange(false))
        ::_exit(99);
    siglongjmp(afterSignal, 1);
}

void plainHandler(int /*signal*/)
{
    ++plainSignals;
    leaveHandler();
}

void detailedHandler(int /*signal*/, siginfo_t* information, void* /*context*/)
{
    ++detailedSignals;
    signalAddress = information->si_addr;
    leaveHandler();
}

void countingHandler(int /*signal*/)
{
    ++plainSignals;
}

/// Has a handler of its own in place before the first file is mapped.
class ForeignBusError : public CutShortFile
{
protected:
    void SetUp() override
    {
        CutShortFile::SetUp();
        ASSERT_EQ(::sigaction(SIGBUS, nullptr, &m_before), 0);
        plainSignals = 0;
        detailedSignals = 0;
    }

    void TearDown() override
    {
        CutShortFile::TearDown();
        ::sigaction(SIGBUS, &m_before, nullptr);
    }

    static void installFirst(const struct sigaction& action)
    {
        ASSERT_EQ(::sigaction(SIGBUS, &action, nullptr), 0);
    }

private:
    struct sigaction m_before
    {};
};

TEST_F(ForeignBusError, ReachesThePlainHandlerThatWasThere)
{
    struct sigaction action
    {};
    action.sa_handler = plainHandler;
    installFirst(action);
    const int id = mapNew();
    const ForeignMemory memory;
    isSignalExpected = true;
    if (sigsetjmp(afterSignal, 1) == 0) {
        static_cast<void>(memory.bytes()[0]);
        ADD_FAILURE() << "no signal";
    }
    EXPECT_EQ(plainSignals, 1);
    cut(id, 10);
    EXPECT_EQ(sample(id, COUNT - 1), MISSING);
    EXPECT_EQ(plainSignals, 1) << "our own signals are not passed on";
}

TEST_F(ForeignBusError, ReachesTheDetailedHandlerThatWasThere)
{
    struct sigaction action
    {};
    action.sa_sigaction = detailedHandler;
    action.sa_flags = SA_SIGINFO;
    installFirst(action);
    mapNew();
    const ForeignMemory memory;
    isSignalExpected = true;
    if (sigsetjmp(afterSignal, 1) == 0) {
        static_cast<void>(memory.bytes()[100]);
        ADD_FAILURE() << "no signal";
    }
    EXPECT_EQ(detailedSignals, 1);
    EXPECT_EQ(signalAddress, const_cast<uchar*>(memory.bytes()) + 100);
}

TEST_F(ForeignBusError, SentByAProgramReachesTheHandlerThatWasThere)
{
    struct sigaction action
    {};
    action.sa_handler = countingHandler;
    installFirst(action);
    mapNew();
    ::raise(SIGBUS);
    EXPECT_EQ(plainSignals, 1);
}

TEST_F(ForeignBusError, SentByAProgramIsIgnoredWhereItWasIgnored)
{
    struct sigaction action
    {};
    action.sa_handler = SIG_IGN;
    installFirst(action);
    mapNew();
    ::raise(SIGBUS);
    EXPECT_EQ(plainSignals, 0);
}

/// Runs `body` in a forked process without any handler and returns the signal that ended it, 0 if none.
template <typename Body>
int signalThatEnds(const Body& body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGBUS, SIG_DFL);
        body();
        ::_exit(0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST_F(ForeignBusError, ReachesTheEarlierHandlerWhenTheGuardIsGone)
{
    struct sigaction action
    {};
    action.sa_handler = countingHandler;
    installFirst(action);
    mapNew();
    MappedFaultGuard::remove();
    MappedFaultGuard::remove();
    struct sigaction current
    {};
    ASSERT_EQ(::sigaction(SIGBUS, nullptr, &current), 0);
    EXPECT_EQ(current.sa_handler, countingHandler);
}

TEST_F(ForeignBusError, ReachesALaterHandlerThoughTheGuardGoes)
{
    mapNew();
    struct sigaction action
    {};
    action.sa_handler = countingHandler;
    struct sigaction guard
    {};
    ASSERT_EQ(::sigaction(SIGBUS, &action, &guard), 0);
    MappedFaultGuard::remove();
    ::raise(SIGBUS);
    EXPECT_EQ(plainSignals, 1);
    ASSERT_EQ(::sigaction(SIGBUS, &guard, nullptr), 0);
}

TEST_F(ForeignBusError, EndsTheProcessWithoutAnotherHandler)
{
    EXPECT_EQ(signalThatEnds([this] {
                  mapNew();
                  const ForeignMemory memory;
                  static_cast<void>(memory.bytes()[0]);
              }),
              SIGBUS);
}

TEST_F(ForeignBusError, SentByAProgramEndsTheProcessWithoutAnotherHandler)
{
    EXPECT_EQ(signalThatEnds([this] {
                  mapNew();
                  ::raise(SIGBUS);
              }),
              SIGBUS);
}

TEST_F(ForeignBusError, CannotBeIgnoredWhereAnAccessRaisedIt)
{
    EXPECT_EQ(signalThatEnds([this] {
                  ::signal(SIGBUS, SIG_IGN);
                  mapNew();
                  const ForeignMemory memory;
                  static_cast<void>(memory.bytes()[0]);
              }),
              SIGBUS);
}

} // namespace
