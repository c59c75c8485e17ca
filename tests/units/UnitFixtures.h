#pragma once

#include <datastorage/units/Converter.h>

#include <support/UnitPrinters.h>

#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

/// A unit from its seven numbers; those left out are 0.
inline vx::datastorage::UsualUnit makeUnit(int unit1, int unitOperator = 0, int unit2 = 0,
                                           int unitOperator2 = 0, int unit3 = 0, int unitOperator3 = 0,
                                           int unit4 = 0)
{
    using namespace vx::datastorage;
    return {static_cast<UsualUnitType>(unit1), static_cast<UsualUnitOperator>(unitOperator),
            static_cast<UsualUnitType>(unit2), static_cast<UsualUnitOperator>(unitOperator2),
            static_cast<UsualUnitType>(unit3), static_cast<UsualUnitOperator>(unitOperator3),
            static_cast<UsualUnitType>(unit4)};
}

inline vx::datastorage::PhysicalParameter makeParameter(int number)
{
    return static_cast<vx::datastorage::PhysicalParameter>(number);
}

/// The rows below the heading of a table in tests/data, split at the commas. The number of rows is
/// checked, so that a table that is missing or cut off cannot pass.
inline QList<QStringList> readTable(const char* name, qsizetype expectedRows)
{
    QFile file(QStringLiteral(VXDATASTORAGE_TEST_DATA_DIR "/") + QLatin1String(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    QList<QStringList> rows;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString& line : lines.mid(1))
        rows.append(line.split(u','));
    EXPECT_EQ(rows.size(), expectedRows) << name;
    return rows;
}

/// A number of a table, which may be written as a fraction.
inline double readNumber(const QString& text)
{
    const QStringList parts = text.split(u'/');
    bool isNumber = false;
    double number = parts.value(0).toDouble(&isNumber);
    EXPECT_TRUE(isNumber) << text.toStdString();
    if (parts.size() == 2)
        number /= parts.value(1).toDouble();
    return number;
}

/// Tests that look texts up: they run between Converter::init() and Converter::clear().
class InitializedConverter : public ::testing::Test
{
protected:
    void SetUp() override { vx::datastorage::Converter::init(); }
    void TearDown() override { vx::datastorage::Converter::clear(); }
};

/// The unit that a printed text stands for; fails the test when the text is unknown.
inline vx::datastorage::UsualUnit unitOf(const QString& text)
{
    const vx::datastorage::UsualUnit unit = vx::datastorage::Converter::getUsualUnitFromString(text);
    EXPECT_FALSE(unit.isUnknown()) << text.toStdString();
    return unit;
}
