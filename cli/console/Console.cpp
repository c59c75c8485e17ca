#include "console/Console.h"

#include <QtCore/QByteArray>
#include <QtCore/QtGlobal>

#include <algorithm>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace vx::cli {
namespace {

bool isTerminalStream(std::FILE* stream)
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

bool write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size;
}

QString escaped(const char* code, const QString& text)
{
    return QStringLiteral("\x1b[") + QLatin1String(code) + QLatin1Char('m') + text +
           QStringLiteral("\x1b[0m");
}

} // namespace

Console::Console() : m_outputIsTerminal(isTerminalStream(stdout)), m_errorIsTerminal(isTerminalStream(stderr))
{}

void Console::print(const QString& text)
{
    clearProgress();
    m_lost = !write(stdout, text) || m_lost;
}

void Console::printError(const QString& text)
{
    clearProgress();
    std::fflush(stdout);
    write(stderr, QStringLiteral("vxdata: ") + text + QLatin1Char('\n'));
}

void Console::showProgress(const QString& job, double part)
{
    constexpr int BAR_WIDTH = 30;
    const int percent = static_cast<int>(std::clamp(part, 0.0, 1.0) * 100.0);
    if (!m_errorIsTerminal || (m_progressShown && percent == m_shownPercent)) {
        return;
    }
    const int filled = percent * BAR_WIDTH / 100;
    const QString bar = QString(filled, QLatin1Char('#')) + QString(BAR_WIDTH - filled, QLatin1Char('.'));
    write(stderr, QStringLiteral("\r[%1] %2 % %3\x1b[K").arg(bar).arg(percent, 3).arg(job.right(40)));
    std::fflush(stderr);
    m_progressShown = true;
    m_shownPercent = percent;
}

void Console::clearProgress()
{
    if (m_progressShown) {
        write(stderr, QStringLiteral("\r\x1b[K"));
        std::fflush(stderr);
        m_progressShown = false;
    }
}

QString Console::bold(const QString& text) const
{
    return m_outputIsTerminal ? escaped("1", text) : text;
}

QString Console::warning(const QString& text) const
{
    return m_outputIsTerminal ? escaped("33", text) : text;
}

bool Console::flush()
{
    clearProgress();
    m_lost = std::fflush(stdout) != 0 || m_lost;
    return !m_lost;
}

} // namespace vx::cli
