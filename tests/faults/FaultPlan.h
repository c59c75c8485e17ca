#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Calls to the system that can be made to fail.
enum class Call
{
    Open,
    Read,
    Write,      ///< fails at once; flushing a file is a write, too
    WriteShort, ///< takes half of the bytes, and the rest fails
    Map,
    Rename,
    Remove,
    Allocate, ///< a large block of the C heap
    Count
};

/// Lets one call of a kind fail: the program's own definitions of the system's functions stand in front
/// of those of the C library, for Qt and for the library under test.
///
/// Of files, only calls for those below a directory are counted. Threads: the calls of all are counted.
class FaultPlan
{
public:
    /// While it lives, the `number`-th call (from 1 on) of `call` fails, and the calls before and after
    /// it do not.
    FaultPlan(Call call, int number, const QString& directory);
    ~FaultPlan();
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Whether the call has failed.
    bool hasFailed() const;

    /// While it lives, nothing fails on this thread: for what tests do on their own account.
    class Pause
    {
    public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
    };

    /// Blocks of fewer bytes are never refused: Qt ends the program when it gets no memory.
    static constexpr std::size_t LARGE_BLOCK = 40000;
    /// False where the program has an allocator of its own, that of a sanitizer.
    static bool canRefuseMemory();
};
