// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// One message of a translation source.
struct TranslationMessage
{
    QString context;
    QString source;
    QString translation;
    /// The "type" of the translation ("unfinished", "vanished", "obsolete"); empty for a finished one.
    QString type;
};

/// A file languages/Translation_<locale>.ts as it stands in the source tree.
class TranslationSource
{
public:
    /// Whatever cannot be read is told by errorString(), and the messages are those before the fault.
    explicit TranslationSource(const QString& path);

    /// Locale names of all sources in the tree, sorted.
    static QStringList locales();
    static QString pathOf(const QString& locale);

    QString language() const { return languageName; }
    QString errorString() const { return error; }
    const QVector<TranslationMessage>& messages() const { return list; }
    /// Null if there is no such message.
    QString translation(const QString& context, const QString& source) const;

private:
    QString languageName;
    QString error;
    QVector<TranslationMessage> list;
};
