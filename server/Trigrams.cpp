// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Trigrams.h"

#include <QVector>

#include <algorithm>

namespace server {

namespace {

constexpr int run = 3;

} // namespace

QString Trigrams::asked(const QString& text)
{
    const QVector<uint> characters = text.toUcs4();
    const bool valid = std::none_of(characters.begin(), characters.end(),
                                    [](uint c) { return QChar::isSurrogate(c) || c == QChar::ReplacementCharacter; });
    if (!valid || characters.size() < run)
        return QString();
    return QString::fromUcs4(characters.constData(), std::min(characters.size(), maxAsked));
}

QStringList Trigrams::covering(const QString& text)
{
    const QVector<uint> characters = text.toUcs4();
    QStringList runs;
    for (int first = 0; first + run <= characters.size(); first += run)
        runs.append(QString::fromUcs4(characters.constData() + first, run));
    if (characters.size() > run && characters.size() % run != 0)
        runs.append(QString::fromUcs4(characters.constData() + characters.size() - run, run));
    runs.removeDuplicates();
    return runs;
}

} // namespace server
