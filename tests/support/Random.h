#pragma once

#include <QtCore/QtGlobal>

#include <random>

/// Random numbers that are the same for the same seed everywhere.
class Random
{
public:
    explicit Random(quint32 seed) : m_engine(seed) {}

    /// 0 to `limit`.
    quint32 upTo(quint32 limit) { return static_cast<quint32>(m_engine() % (quint64{limit} + 1)); }
    quint32 next() { return static_cast<quint32>(m_engine()); }
    /// Once in `times` calls.
    bool onceIn(quint32 times) { return upTo(times - 1) == 0; }

private:
    std::mt19937 m_engine;
};
