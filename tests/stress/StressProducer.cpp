#include "StressProducer.h"

#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>

using namespace vx::datastorage;

namespace {

/// An array is emptied when it has more than this many times its usual size.
constexpr qint64 largestGrowth = 3;

CacheManager& cache()
{
    return CacheManager::instance();
}

} // namespace

StressProducer::StressProducer(std::deque<StressSlot>& arrays, StressReport& report, quint32 seed)
    : m_arrays(arrays), m_report(report), m_random(seed), m_reader(arrays, report, seed + 1)
{
    connect(&cache(), &CacheManager::signal_cacheError, this, &StressProducer::onCacheError);
    for (StressSlot& slot : m_arrays) {
        slot.createDescriptor();
        newKey(slot);
        slot.beginGeneration();
        slot.endGeneration();
    }
}

void StressProducer::onCacheError(const QString& error)
{
    m_report.count(Operation::CacheError);
    for (StressSlot& slot : m_arrays) {
        if (!slot.info)
            continue;
        const bool isExpected = slot.expectation().isDamaged || slot.mayLackFile || slot.written() == 0;
        if (!isExpected && error.contains(cache().getFullFilename(slot.key, slot.info.get())))
            m_report.fail(QStringLiteral("array %1 has an error without a cause: ").arg(slot.number()) +
                          error);
        slot.clearError();
    }
}

void StressProducer::pump()
{
    QCoreApplication::processEvents();
    for (StressSlot& slot : m_arrays)
        slot.clearError();
}

void StressProducer::step()
{
    StressSlot& slot = someArray(m_arrays, m_random);
    switch (m_random.upTo(9)) {
    case 0:
        maintain(slot);
        break;
    case 1:
    case 2:
    case 3:
        change(slot);
        break;
    default:
        use(slot);
    }
    pump();
}

/// Reads, drops and writes, which changes no sample.
void StressProducer::use(StressSlot& slot)
{
    const bool isCached = cache().isCached(slot.info.get());
    switch (isCached ? m_random.upTo(9) : 9) {
    case 0:
        drop(slot);
        break;
    case 1:
        cache().readDataArrayFromDisk(slot.info.get());
        m_report.count(Operation::Load, slot.number());
        break;
    case 2:
        cache().writeDataArrayToDisk(slot.info.get());
        m_report.count(Operation::Write, slot.number());
        break;
    case 3:
        toJson(slot);
        break;
    case 4:
    case 5:
    case 6:
        m_reader.readDirect(slot);
        break;
    default:
        m_reader.readOne(slot);
        m_report.count(Operation::ReadOnMainThread, slot.number());
    }
}

void StressProducer::change(StressSlot& slot)
{
    const bool isFull = slot.written() > slot.usualSize() * largestGrowth;
    if (!cache().isCached(slot.info.get()) || slot.expectation().isDamaged || isFull) {
        repair(slot);
        return;
    }
    switch (m_random.upTo(9)) {
    case 0:
        clear(slot);
        break;
    case 1:
        addUnannounced(slot);
        break;
    case 2:
        rename(slot);
        break;
    case 3:
    case 4:
    case 5:
        update(slot);
        break;
    default:
        append(slot);
    }
}

void StressProducer::maintain(StressSlot& slot)
{
    switch (m_random.upTo(9)) {
    case 0:
        damage(slot);
        break;
    case 1:
    case 2:
        replaceLostFile(slot);
        break;
    case 3:
        outage();
        break;
    case 4:
    case 5:
        recreate(slot);
        break;
    default:
        changeBudget();
    }
}

qint64 StressProducer::someCount(const StressSlot& slot)
{
    return m_random.upTo(9) == 0 ? m_random.upTo(2) : m_random.upTo(static_cast<quint32>(slot.usualSize()));
}

void StressProducer::newKey(StressSlot& slot)
{
    // Some keys differ only in characters that file names cannot have.
    slot.key = QStringLiteral("C:/data/run%1%2")
                   .arg(slot.number())
                   .arg(QLatin1String(m_random.upTo(1) ? ":" : "__"));
}

void StressProducer::fill(StressSlot& slot)
{
    m_report.count(Operation::Fill, slot.number());
    slot.info->startAddingData();
    slot.addSamples(someCount(slot), m_random.next());
    slot.info->endAddingData(slot.key);
    if (m_random.onceIn(2)) {
        // A sample that was asked for while there were none may have started a load without a file.
        cache().awaitTaskFinished(slot.info.get());
        slot.mayLackFile = false;
    }
}

void StressProducer::update(StressSlot& slot)
{
    m_report.count(Operation::Update, slot.number());
    slot.info->startAddingData();
    slot.addSamples(someCount(slot), m_random.next());
    if (m_random.upTo(3) == 0)
        pump();
    m_reader.readOne(slot);
    slot.info->endAddingData(slot.key);
}

void StressProducer::append(StressSlot& slot)
{
    m_report.count(Operation::Append, slot.number());
    cache().prepareAppendDataArray(slot.info.get());
    for (quint32 round = m_random.upTo(2); round > 0; --round) {
        slot.addSamples(someCount(slot) / 2, m_random.next());
        if (m_random.upTo(3) == 0)
            pump();
        m_reader.readOne(slot);
    }
    cache().appendDataArray(slot.info.get(), slot.key);
}

void StressProducer::addUnannounced(StressSlot& slot)
{
    m_report.count(Operation::AddUnannounced, slot.number());
    if (m_random.upTo(1) == 0)
        cache().writeDataArrayToDisk(slot.info.get());
    slot.addSamples(someCount(slot) / 3, m_random.next());
    cache().writeDataArrayToDisk(slot.info.get());
}

void StressProducer::clear(StressSlot& slot)
{
    m_report.count(Operation::Clear, slot.number());
    slot.beginGeneration();
    if (m_random.upTo(1) == 0)
        slot.info->clear();
    else
        slot.info->restart();
    slot.endGeneration();
    if (m_random.upTo(3) != 0)
        fill(slot);
}

void StressProducer::rename(StressSlot& slot)
{
    m_report.count(Operation::Rename, slot.number());
    newKey(slot);
    slot.info->updateDataCachePath(slot.key);
}

void StressProducer::destroy(StressSlot& slot)
{
    slot.isDestroyAhead.store(true);
    while (!slot.lifetime.try_lock())
        pump();
    slot.beginGeneration();
    slot.destroyDescriptor();
}

void StressProducer::recreate(StressSlot& slot)
{
    m_report.count(Operation::Recreate, slot.number());
    destroy(slot);
    slot.createDescriptor();
    newKey(slot);
    slot.endGeneration();
    slot.isDestroyAhead.store(false);
    slot.lifetime.unlock();
    if (m_random.upTo(3) != 0)
        fill(slot);
}

void StressProducer::drop(StressSlot& slot)
{
    cache().awaitTaskFinished(slot.info.get());
    if (slot.expectation().isDamaged)
        return;
    m_report.count(Operation::Drop, slot.number());
    slot.info->removeFromMemory();
}

void StressProducer::toJson(StressSlot& slot)
{
    m_report.count(Operation::ToJson, slot.number());
    QJsonObject object;
    vx::archive::ArchiveContext context;
    slot.info->write(object, 1, context);
    const QString size =
        object.value(QLatin1String("dataArray")).toObject().value(QLatin1String("realSize")).toString();
    if (size != QString::number(slot.written()))
        m_report.fail(QStringLiteral("slot %1: JSON says %2 samples").arg(slot.number()).arg(size));
}

void StressProducer::changeBudget()
{
    m_report.count(Operation::Budget, 0);
    cache().setCacheSizeInBytes(qint64{1} << m_random.upTo(27));
}

/// Takes samples away for good: the file is deleted or cut short and nothing of it is in memory.
void StressProducer::damage(StressSlot& slot)
{
    cache().awaitTaskFinished(slot.info.get());
    if (!cache().isCached(slot.info.get()))
        return;
    m_report.count(Operation::Damage, slot.number());
    slot.setDamaged(true);
    QFile file(cache().getFullFilename(slot.key, slot.info.get()));
    if (m_random.upTo(1) == 0)
        file.remove();
    else if (file.exists())
        // Between two samples: of one that is cut, a mapping shows the bytes that are left.
        file.resize(qint64{m_random.upTo(static_cast<quint32>(file.size())) / 4} * 4);
    slot.info->removeFromMemory();
    m_reader.readOne(slot);
}

/// Starts a slot over whose array is not filed, has lost samples or has become too large.
void StressProducer::repair(StressSlot& slot)
{
    if (!cache().isCached(slot.info.get())) {
        fill(slot);
        return;
    }
    m_report.count(Operation::Repair, slot.number());
    clear(slot);
}

bool StressProducer::isWholeInMemory(const StressSlot& slot) const
{
    return slot.info->getSizeLoadedInMemory() == slot.info->getSize();
}

/// The file goes while every sample is in memory, and is written again: nothing is lost.
void StressProducer::replaceLostFile(StressSlot& slot)
{
    cache().awaitTaskFinished(slot.info.get());
    if (!cache().isCached(slot.info.get()) || slot.expectation().isDamaged || !isWholeInMemory(slot))
        return;
    m_report.count(Operation::Replace, slot.number());
    slot.setDamaged(true); // a mapping of the old file, or a load of it, may still fail
    const QString file = cache().getFullFilename(slot.key, slot.info.get());
    QFile::remove(file);
    // A write that is put off until a load is over is not made when the cache takes the file for complete.
    while (!QFile::exists(file) && isWholeInMemory(slot)) {
        cache().writeDataArrayToDisk(slot.info.get());
        cache().awaitTaskFinished(slot.info.get());
    }
    endReads(slot);
    slot.setDamaged(!QFile::exists(file));
}

/// Waits until no reader is inside a call that began before, and takes the errors of those calls.
void StressProducer::endReads(StressSlot& slot)
{
    slot.isDestroyAhead.store(true);
    while (!slot.lifetime.try_lock())
        pump();
    slot.lifetime.unlock();
    pump();
    slot.isDestroyAhead.store(false);
}

/// The directory goes away for a while: nothing that is in memory may be lost, and what could not be
/// written is written afterwards.
void StressProducer::outage()
{
    m_report.count(Operation::Outage, 0);
    std::deque<StressSlot*> healthy;
    for (StressSlot& slot : m_arrays) {
        cache().awaitTaskFinished(slot.info.get());
        if (!slot.expectation().isDamaged)
            healthy.push_back(&slot);
    }
    for (StressSlot* slot : healthy)
        slot->setDamaged(true);
    const QString directory = QDir(cache().getDefaultCachePath()).path();
    QDir().rename(directory, directory + QLatin1String(".away"));
    for (int round = 0; round < 4; ++round) {
        StressSlot& slot = *healthy.front();
        if (cache().isCached(slot.info.get()) && m_random.upTo(1) == 0)
            append(slot);
        else if (cache().isCached(slot.info.get()))
            update(slot);
        else
            fill(slot);
        std::rotate(healthy.begin(), healthy.begin() + 1, healthy.end());
        pump();
    }
    for (StressSlot& slot : m_arrays)
        cache().awaitTaskFinished(slot.info.get());
    QDir().rename(directory + QLatin1String(".away"), directory);
    for (StressSlot* slot : healthy) {
        if (cache().isCached(slot->info.get()))
            cache().writeDataArrayToDisk(slot->info.get());
        cache().awaitTaskFinished(slot->info.get());
        endReads(*slot);
        slot->setDamaged(false);
    }
}

void StressProducer::finish()
{
    for (StressSlot& slot : m_arrays) {
        destroy(slot);
        slot.lifetime.unlock();
    }
}
