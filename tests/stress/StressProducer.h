#pragma once

#include "StressReader.h"
#include "StressReport.h"
#include "StressSlot.h"

#include <support/Random.h>

#include <QtCore/QObject>

#include <deque>

/// Does everything that only the main thread may do to the arrays' arrays.
class StressProducer : public QObject
{
    Q_OBJECT

public:
    StressProducer(std::deque<StressSlot>& arrays, StressReport& report, quint32 seed);

    /// One operation on one array.
    void step();
    /// Lets events flow and clears errors, so that readers that have met one go on.
    void pump();
    /// Ends every array.
    void finish();

private:
    void onCacheError(const QString& error);

    qint64 someCount(const StressSlot& slot);
    void newKey(StressSlot& slot);

    void fill(StressSlot& slot);
    void update(StressSlot& slot);
    void append(StressSlot& slot);
    void addUnannounced(StressSlot& slot);
    void clear(StressSlot& slot);
    void rename(StressSlot& slot);
    void recreate(StressSlot& slot);
    void destroy(StressSlot& slot);
    void drop(StressSlot& slot);
    void toJson(StressSlot& slot);
    void changeBudget();
    void damage(StressSlot& slot);
    void repair(StressSlot& slot);
    void replaceLostFile(StressSlot& slot);
    void endReads(StressSlot& slot);
    void outage();
    void use(StressSlot& slot);
    void change(StressSlot& slot);
    void maintain(StressSlot& slot);
    bool isWholeInMemory(const StressSlot& slot) const;

    std::deque<StressSlot>& m_arrays;
    StressReport& m_report;
    Random m_random;
    StressReader m_reader;
};
