#pragma once

#include "InputError.h"
#include "config/DeclaredArrays.h"
#include "console/CommandLine.h"
#include "report/CacheWatch.h"
#include "report/MeasuredTable.h"

#include <vector>

namespace vx::cli {

class Console;

/// The tables that a command works with, as its options name them: FILE..., --open, --columns, --config,
/// --unit and those of the cache.
class TableInputs
{
public:
    /// @param command  its name, for the error lines; the arguments outlive the inputs
    TableInputs(const char* command, const Arguments& arguments, Console& console);
    TableInputs(const TableInputs&) = delete;
    TableInputs& operator=(const TableInputs&) = delete;

    /// Checks the options and configures the cache. Anything but Done has been reported.
    ExitCode configure();

    /// Imports the tables, or opens those that were saved. The error of a bad table is one line; the others
    /// go on, and anyBad() tells. Anything but Done has been reported.
    ExitCode collect();

    /// Reports wrong usage in one line and gives the exit code for it.
    ExitCode usage(const QString& text) const;

    /// One line about a bad input; the other inputs go on.
    void bad(const InputError& error);
    bool anyBad() const { return m_anyBad; }

    const std::vector<MeasuredTable>& tables() const { return m_tables; }
    CacheWatch& watch() { return m_watch; }

private:
    /// A wish of the user for the unit of some arrays.
    struct UnitWish
    {
        QString name;
        datastorage::UsualUnit unit;
        bool used = false;
    };

    bool readWishes(QString& error);
    bool readColumnNames(QString& error);
    void importTables();
    bool applyWishes(QString& error);
    static bool applyWish(UnitWish& wish, MeasuredColumn& column, QString& error);

    const char* m_command;
    const Arguments& m_arguments;
    Console& m_console;
    std::vector<UnitWish> m_wishes;
    QStringList m_columnNames;
    DeclaredArrays m_declared;
    CacheWatch m_watch;
    std::vector<MeasuredTable> m_tables;
    bool m_anyBad = false;
};

/// Whether a user who says `name` means this column: its array's name or that of its declared array, in any
/// case, or its heading as it stands.
bool isMeant(const MeasuredColumn& column, const QString& name);

} // namespace vx::cli
