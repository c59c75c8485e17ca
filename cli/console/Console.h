#pragma once

#include <QtCore/QString>

#include <cstdio>

namespace vx::cli {

/// Where a command writes: results to the standard output, errors and progress to the standard error
/// stream, all as UTF-8.
class Console
{
public:
    Console();

    /// Writes a result as it stands.
    void print(const QString& text);

    /// Writes one error line, with the program's name in front. A progress bar is taken away first.
    void printError(const QString& text);

    /// Shows how far a job is, as a bar on the last line of the terminal; nothing happens when the
    /// standard error stream is no terminal.
    /// @param part  from 0 to 1
    void showProgress(const QString& job, double part);

    /// Takes the progress bar away.
    void clearProgress();

    /// Whether results go to a terminal, which may then be coloured.
    bool isTerminal() const { return m_outputIsTerminal; }

    /// The text in bold letters, or as it stands when no terminal shows it.
    QString bold(const QString& text) const;

    /// The text in the colour of warnings, or as it stands when no terminal shows it.
    QString warning(const QString& text) const;

    /// Passes on everything that is still buffered; false when some of the output was lost.
    bool flush();

private:
    bool m_outputIsTerminal = false;
    bool m_errorIsTerminal = false;
    bool m_progressShown = false;
    bool m_lost = false;
    int m_shownPercent = -1;
};

} // namespace vx::cli
