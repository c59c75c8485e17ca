#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The text of a page in docs/; empty when there is none.
inline QString readPage(const QString& name)
{
    QFile file(QStringLiteral(VXDATASTORAGE_DOCS_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The code blocks of a page in one language, in their order.
inline QStringList codeBlocks(const QString& page, const QString& language)
{
    const QString opening = "```" + language + '\n';
    QStringList blocks;
    qsizetype at = page.indexOf(opening);
    while (at >= 0) {
        const qsizetype first = at + opening.size();
        const qsizetype end = page.indexOf("```", first);
        blocks += page.mid(first, end - first);
        at = page.indexOf(opening, end);
    }
    return blocks;
}
