#include "ModelWorld.h"

#include <archive/ArchiveContext.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <ostream>
#include <string>
#include <thread>

using namespace vx::datastorage;

namespace {

constexpr std::int32_t MISSING = 0x7FC00000;
constexpr std::int32_t LARGEST_VALUE = 1 << 24; // beyond it, loaded ints come back rounded
constexpr qint64 AMPLE = qint64{1} << 40;

const char* const ACTS[] = {"AddOne",
                            "AddSome",
                            "AddBlock",
                            "Fill",
                            "Start",
                            "End",
                            "PrepareAppend",
                            "Append",
                            "Write",
                            "Load",
                            "Await",
                            "Budget",
                            "Drop",
                            "Clear",
                            "Restart",
                            "Rename",
                            "ToJson",
                            "Reopen",
                            "Prefetch",
                            "LoadInBackground",
                            "ReadInBackground",
                            "Pin",
                            "Unpin",
                            "GetSample",
                            "GetSampleInt",
                            "ReadRange",
                            "ReadOnThread",
                            "ReadDirect",
                            "Recreate",
                            "Copy",
                            "Reserve",
                            "Events",
                            "TakeOutAndIn",
                            "RemoveAll",
                            "Range",
                            "CompareAll"};
static_assert(std::size(ACTS) == static_cast<std::size_t>(Act::Count));

CacheManager& cache()
{
    return CacheManager::instance();
}

qint64 sizeOf(const std::vector<std::int32_t>& samples)
{
    return static_cast<qint64>(samples.size());
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Operation& operation)
{
    return stream << "{Act::" << ACTS[static_cast<int>(operation.act)] << ", " << operation.array << ", "
                  << operation.number << "}";
}

ModelWorld::ModelWorld()
{
    cache().setDefaultCachePath(m_directory.path(), false);
    expect(cache().checkDefaultCacheDirectory(), "there is a cache directory");
    cache().setCacheSizeInBytes(AMPLE);
    m_connection = QObject::connect(&cache(), &CacheManager::signal_cacheError, [this](const QString& error) {
        m_error = error;
        for (const Slot& slot : m_slots)
            if (slot.info)
                slot.info->setReadWriteError(false); // who waits for it goes on
    });
    for (Slot& slot : m_slots)
        create(slot);
}

ModelWorld::~ModelWorld()
{
    for (Slot& slot : m_slots)
        slot.info.reset();
    QObject::disconnect(m_connection);
}

void ModelWorld::create(Slot& slot)
{
    slot.info = std::make_unique<DataArrayInfoStreamed>(QString("array %1").arg(m_nextName++),
                                                        ParameterVoltage, Int, UsualUnit());
    slot.info->createDataArray();
    slot.samples.clear();
    slot.range.reset();
    slot.bracket = Bracket::None;
    slot.hasFile = false;
    slot.key = QStringLiteral("C:/data/run.dat");
}

void ModelWorld::run(const Operation& operation)
{
    Slot& slot = m_slots.at(static_cast<std::size_t>(operation.array));
    if (operation.act < Act::Write)
        change(slot, operation);
    else if (operation.act < Act::GetSample)
        use(slot, operation);
    else
        ask(slot, operation);
    expect(slot.info->getSize() == sizeOf(slot.samples), "the size is that of the model");
    expect(m_error.isEmpty(), "the cache has no error");
}

void ModelWorld::change(Slot& slot, const Operation& operation)
{
    switch (operation.act) {
    case Act::AddOne:
        return add(slot, 1, false);
    case Act::AddSome:
        return add(slot, operation.number % 40, false);
    case Act::AddBlock:
        return add(slot, operation.number % 3000, true);
    case Act::Fill:
        return fill(slot, operation.number % 3000);
    case Act::Start:
        return start(slot);
    case Act::End:
        return end(slot);
    case Act::PrepareAppend:
        return prepareAppend(slot);
    default:
        return append(slot);
    }
}

void ModelWorld::use(Slot& slot, const Operation& operation)
{
    switch (operation.act) {
    case Act::Write:
        if (isCached(slot))
            write(slot);
        return;
    case Act::Load:
        if (isCached(slot) && slot.hasFile)
            cache().readDataArrayFromDisk(slot.info.get());
        return;
    case Act::Await:
        return cache().awaitTaskFinished(slot.info.get());
    case Act::Budget:
        return cache().setCacheSizeInBytes(operation.number % 4 == 0 ? AMPLE : operation.number % 20000 + 1);
    case Act::Drop:
        flush(slot);
        if (isCached(slot))
            slot.info->removeFromMemory();
        return;
    case Act::Clear:
        return clear(slot, false);
    case Act::Restart:
        return clear(slot, true);
    case Act::Rename:
        return rename(slot, operation.number);
    case Act::ToJson: {
        QJsonObject object;
        vx::archive::ArchiveContext context;
        expect(slot.info->write(object, 1, context), "JSON can be written");
        const QJsonObject array = object.value("dataArray").toObject();
        return expect(array.value("realSize").toString().toLongLong() == sizeOf(slot.samples),
                      "JSON has the size");
    }
    case Act::Reopen:
        return reopen(slot);
    case Act::Prefetch:
        if (slot.hasFile)
            cache().prefetch(slot.info.get());
        return;
    case Act::LoadInBackground:
        return loadInBackground(slot);
    case Act::ReadInBackground:
        return readInBackground(slot, operation.number);
    case Act::Pin:
        return pin(slot, operation.number);
    default:
        return unpin(slot);
    }
}

void ModelWorld::ask(Slot& slot, const Operation& operation)
{
    switch (operation.act) {
    case Act::GetSample:
        return getSample(slot, operation.number, false);
    case Act::GetSampleInt:
        return getSample(slot, operation.number, true);
    case Act::ReadRange:
        return readRange(slot, operation.number);
    case Act::ReadOnThread: {
        std::string difference;
        std::thread reader([&] {
            try {
                readRange(slot, operation.number);
            } catch (const Difference& found) {
                difference = found.what();
            }
        });
        reader.join();
        return expect(difference.empty(), difference.c_str());
    }
    case Act::ReadDirect:
        return readDirect(slot, operation.number);
    case Act::Recreate:
        return create(slot);
    case Act::Copy: {
        const DataArrayInfoStreamed copy(*slot.info);
        expect(copy.getSize() == sizeOf(slot.samples), "a copy has the size");
        return;
    }
    case Act::Reserve:
        return slot.info->reserve(operation.number % 10000);
    case Act::Events:
        return QCoreApplication::processEvents();
    case Act::TakeOutAndIn:
        return takeOutAndIn(slot);
    case Act::RemoveAll:
        return removeAll();
    case Act::Range:
        if (slot.range) {
            expect(slot.info->getMin() == static_cast<float>(slot.range->first),
                   "the minimum is the model's");
            expect(slot.info->getMax() == static_cast<float>(slot.range->second),
                   "the maximum is the model's");
        }
        return;
    default:
        return compareAll(slot);
    }
}

void ModelWorld::finish()
{
    for (Slot& slot : m_slots) {
        if (slot.bracket == Bracket::Append)
            append(slot);
        end(slot);
        flush(slot);
        compareAll(slot);
        unpin(slot);
    }
    expect(m_error.isEmpty(), "the cache has no error");
    for (Slot& slot : m_slots)
        slot.info.reset();
    expect(QDir(m_directory.path()).isEmpty(), "no file is left");
}

// ---- changes

void ModelWorld::add(Slot& slot, std::uint32_t count, bool asBlock)
{
    std::vector<std::int32_t> added;
    for (std::uint32_t i = 0; i < count; ++i) {
        added.push_back(m_nextValue);
        m_nextValue = (m_nextValue * 5 + 1) % LARGEST_VALUE;
    }
    if (asBlock)
        slot.info->addSamples(std::span<const int>(added));
    for (const std::int32_t value : added) {
        if (!asBlock)
            slot.info->addSampleInt(value);
        if (!slot.range)
            slot.range.emplace(value, value);
        slot.range->first = std::min(slot.range->first, value);
        slot.range->second = std::max(slot.range->second, value);
    }
    slot.samples.insert(slot.samples.end(), added.begin(), added.end());
}

void ModelWorld::fill(Slot& slot, std::uint32_t count)
{
    if (slot.bracket != Bracket::None)
        return;
    start(slot);
    add(slot, count, true);
    end(slot);
}

void ModelWorld::start(Slot& slot)
{
    if (slot.bracket != Bracket::None)
        return;
    slot.info->startAddingData();
    slot.bracket = Bracket::Update;
}

void ModelWorld::end(Slot& slot)
{
    if (slot.bracket != Bracket::Update)
        return;
    slot.info->endAddingData(slot.key);
    slot.hasFile = true;
    slot.bracket = Bracket::None;
}

void ModelWorld::prepareAppend(Slot& slot)
{
    if (slot.bracket != Bracket::None || !isCached(slot))
        return;
    cache().prepareAppendDataArray(slot.info.get());
    slot.bracket = Bracket::Append;
}

void ModelWorld::append(Slot& slot)
{
    if (slot.bracket != Bracket::Append)
        return;
    cache().appendDataArray(slot.info.get(), slot.key);
    slot.hasFile = true;
    slot.bracket = Bracket::None;
}

/// Everything that was added is in the file afterwards.
void ModelWorld::flush(Slot& slot)
{
    cache().awaitTaskFinished(slot.info.get());
    if (!isCached(slot))
        return;
    write(slot);
    cache().awaitTaskFinished(slot.info.get());
}

void ModelWorld::write(Slot& slot)
{
    cache().writeDataArrayToDisk(slot.info.get());
    slot.hasFile = true;
}

void ModelWorld::clear(Slot& slot, bool restart)
{
    if (restart)
        slot.info->restart();
    else
        slot.info->clear();
    slot.samples.clear();
    slot.range.reset();
    slot.hasFile = false;
}

void ModelWorld::rename(Slot& slot, std::uint32_t number)
{
    if (!isCached(slot))
        return;
    flush(slot);
    slot.key = QString("C:/data/run%1.dat").arg(number % 5);
    slot.info->updateDataCachePath(slot.key);
    expect(cache().getDataArrayInfoKey(slot.info.get()) == slot.key, "the new key is the array's");
}

/// The array goes into a document, and another process opens that.
void ModelWorld::reopen(Slot& slot)
{
    if (!isCached(slot) || slot.samples.empty())
        return;
    flush(slot);
    QJsonObject object;
    vx::archive::ArchiveContext context;
    expect(slot.info->write(object, 1, context), "JSON can be written");
    const QString file = cache().getFullFilename(slot.key, slot.info.get());
    const QString kept = file + ".kept";
    expect(QFile::copy(file, kept), "the file can be kept");
    slot.info = std::make_unique<DataArrayInfoStreamed>();
    slot.info->createDataArray();
    expect(QFile::rename(kept, file), "the file can be put in place");
    context.dataSourcePath = slot.key;
    expect(slot.info->read(object, 1, context), "JSON can be read");
    expect(slot.info->getSizeLoadedInMemory() == 0, "nothing is in memory");
}

void ModelWorld::takeOutAndIn(Slot& slot)
{
    if (!isCached(slot) || slot.samples.empty())
        return;
    flush(slot);
    cache().readDataArrayFromDisk(slot.info.get());
    cache().awaitTaskFinished(slot.info.get());
    if (slot.info->getSizeLoadedInMemory() < slot.info->getSize())
        return; // evicted again
    cache().removeDataArrayInfoFromCache(slot.info.get());
    expect(!isCached(slot), "the array is taken out");
    cache().addDataArrayInfoToCache(slot.key, slot.info.get());
}

void ModelWorld::removeAll()
{
    for (Slot& slot : m_slots) {
        if (!isCached(slot))
            return;
    }
    for (Slot& slot : m_slots)
        flush(slot);
    cache().removeAll();
    for (Slot& slot : m_slots) {
        expect(!isCached(slot), "the array is taken out");
        cache().loadDataArrayInfoToCache(slot.key, slot.info.get());
    }
}

// ---- reads

void ModelWorld::loadInBackground(Slot& slot)
{
    if (!isCached(slot) || slot.samples.empty())
        return;
    QFuture<LoadResult> load = cache().loadInBackground(slot.info.get());
    while (!load.isFinished())
        QCoreApplication::processEvents();
    if (!load.result().isLoaded)
        expect(!load.result().error.isEmpty(), "a load that did not succeed says why");
}

void ModelWorld::readInBackground(Slot& slot, std::uint32_t number)
{
    if (!isCached(slot) || slot.samples.empty())
        return;
    const qint64 first = number % sizeOf(slot.samples);
    QFuture<ReadResult> read = cache().readInBackground(slot.info.get(), first, number % 100);
    while (!read.isFinished())
        QCoreApplication::processEvents();
    const ReadResult result = read.result();
    for (qsizetype i = 0; i < result.samples.size(); ++i)
        expectSample(slot, first + i, result.samples[i].intValue, "a sample read in the background");
}

void ModelWorld::pin(Slot& slot, std::uint32_t number)
{
    unpin(slot);
    if (slot.samples.empty() || slot.bracket == Bracket::Append)
        return;
    const qint64 first = number % sizeOf(slot.samples);
    slot.pin = slot.info->pin(first, 200);
    slot.pinned.assign(slot.samples.begin() + first,
                       slot.samples.begin() + std::min(first + 200, sizeOf(slot.samples)));
}

/// What was pinned is as it was, whatever has happened to the array.
void ModelWorld::unpin(Slot& slot)
{
    if (!slot.pin.isEmpty()) {
        expect(slot.pin.count() == sizeOf(slot.pinned), "a view has the samples that were there");
        expect(std::equal(slot.pinned.begin(), slot.pinned.end(), slot.pin.ints().begin()),
               "the samples of a view stay");
    }
    slot.pin = PinnedSamples();
    slot.pinned.clear();
}

void ModelWorld::expect(bool holds, const char* what) const
{
    if (!holds)
        throw Difference(std::string("does not hold: ") + what + "; " + m_error.toStdString());
}

void ModelWorld::expectSample(const Slot& slot, qint64 index, std::int32_t bits, const char* what) const
{
    const bool isThere = index >= 0 && index < sizeOf(slot.samples);
    const std::int32_t expected = isThere ? slot.samples[static_cast<std::size_t>(index)] : MISSING;
    if (bits != expected)
        throw Difference(std::string(what) + " at " + std::to_string(index) + " of " +
                         std::to_string(slot.samples.size()) + " is " + std::to_string(bits) + ", not " +
                         std::to_string(expected));
}

void ModelWorld::getSample(Slot& slot, std::uint32_t number, bool asInt)
{
    if (slot.samples.empty())
        return; // asks for a file that may not be there
    const qint64 index = number % (sizeOf(slot.samples) + 2) - 1;
    const std::int32_t bits = asInt && index >= 0 && index < sizeOf(slot.samples)
                                  ? slot.info->getSampleInt(index)
                                  : slot.info->getSample(index).intValue;
    expectSample(slot, index, bits, "a sample");
}

void ModelWorld::readRange(const Slot& slot, std::uint32_t number)
{
    if (slot.samples.empty())
        return;
    const qint64 first = number % sizeOf(slot.samples);
    std::vector<std::int32_t> out(number % 500 + 1);
    const qint64 count = slot.info->readSamples(first, std::span<int>(out));
    expect(count == std::min(sizeOf(out), sizeOf(slot.samples) - first), "a range has all its samples");
    for (qint64 i = 0; i < count; ++i)
        expectSample(slot, first + i, out[static_cast<std::size_t>(i)], "a sample of a range");
}

void ModelWorld::readDirect(Slot& slot, std::uint32_t number)
{
    if (!isCached(slot) || slot.samples.empty())
        return;
    flush(slot);
    const qint64 index = number % sizeOf(slot.samples);
    expectSample(slot, index, cache().getSampleDirect(slot.info.get(), index).intValue, "a direct sample");
}

void ModelWorld::compareAll(Slot& slot)
{
    if (slot.bracket == Bracket::Append)
        return; // a read of the file for every sample
    for (qint64 i = 0; i < sizeOf(slot.samples); ++i)
        expectSample(slot, i, slot.info->getSample(i).intValue, "a sample");
}

bool ModelWorld::isCached(const Slot& slot) const
{
    return cache().isCached(slot.info.get());
}
