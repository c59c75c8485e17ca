#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/PinnedSamples.h>
#include <datastorage/cache/CacheManager.h>

#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include <array>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

/// What a sequence does to an array. Operations that the array's state does not allow do nothing.
enum class Act
{
    AddOne,
    AddSome,
    AddBlock,
    Fill,
    Start,
    End,
    PrepareAppend,
    Append,
    Write,
    Load,
    Await,
    Budget,
    Drop,
    Clear,
    Restart,
    Rename,
    ToJson,
    Reopen,
    Prefetch,
    LoadInBackground,
    ReadInBackground,
    Pin,
    Unpin,
    GetSample,
    GetSampleInt,
    ReadRange,
    ReadOnThread,
    ReadDirect,
    Recreate,
    Copy,
    Reserve,
    Events,
    TakeOutAndIn,
    RemoveAll,
    Range,
    CompareAll,
    Count
};

struct Operation
{
    Act act;
    int array;
    std::uint32_t number; ///< how many, which index, ...
};
std::ostream& operator<<(std::ostream& stream, const Operation& operation);

/// What differs from the model.
class Difference : public std::runtime_error
{
public:
    using runtime_error::runtime_error;
};

/// A few streamed arrays in a cache of their own and, beside each, the samples it must have.
///
/// Nothing fails here, so that every error of the cache is a difference. Throws Difference.
class ModelWorld
{
public:
    static constexpr int ARRAYS = 3;

    ModelWorld();
    ~ModelWorld();
    ModelWorld(const ModelWorld&) = delete;
    ModelWorld& operator=(const ModelWorld&) = delete;

    void run(const Operation& operation);
    /// Ends what is open, compares everything, destroys the arrays and looks for files that are left.
    void finish();

private:
    enum class Bracket
    {
        None,
        Update,
        Append
    };
    struct Slot
    {
        std::unique_ptr<vx::datastorage::DataArrayInfoStreamed> info;
        std::vector<std::int32_t> samples;
        std::optional<std::pair<std::int32_t, std::int32_t>> range;
        Bracket bracket = Bracket::None;
        QString key;
        bool hasFile = false; ///< a write was asked for since the array was emptied
        vx::datastorage::PinnedSamples pin;
        std::vector<std::int32_t> pinned;
    };

    void create(Slot& slot);
    void change(Slot& slot, const Operation& operation);
    void use(Slot& slot, const Operation& operation);
    void ask(Slot& slot, const Operation& operation);

    void add(Slot& slot, std::uint32_t count, bool asBlock);
    void fill(Slot& slot, std::uint32_t count);
    void start(Slot& slot);
    void end(Slot& slot);
    void prepareAppend(Slot& slot);
    void append(Slot& slot);
    void flush(Slot& slot);
    void write(Slot& slot);
    void clear(Slot& slot, bool restart);
    void rename(Slot& slot, std::uint32_t number);
    void reopen(Slot& slot);
    void takeOutAndIn(Slot& slot);
    void removeAll();
    void loadInBackground(Slot& slot);
    void readInBackground(Slot& slot, std::uint32_t number);
    void pin(Slot& slot, std::uint32_t number);
    void unpin(Slot& slot);

    void expect(bool holds, const char* what) const;
    void expectSample(const Slot& slot, qint64 index, std::int32_t bits, const char* what) const;
    void getSample(Slot& slot, std::uint32_t number, bool asInt);
    void readRange(const Slot& slot, std::uint32_t number);
    void readDirect(Slot& slot, std::uint32_t number);
    void compareAll(Slot& slot);
    bool isCached(const Slot& slot) const;

    QTemporaryDir m_directory;
    std::array<Slot, ARRAYS> m_slots;
    std::int32_t m_nextValue = 1;
    int m_nextName = 0;
    QMetaObject::Connection m_connection;
    QString m_error;
};
