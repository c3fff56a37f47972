// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSet>
#include <QString>
#include <QVector>

/// One text of the program in one place that shows it.
struct CatalogueEntry
{
    /// The class whose source or form names the key.
    QString user;
    /// The context of the translation: the user, or "QObject" for static helpers.
    QString context;
    QString key;
};

/// The program's texts, kept here apart from the translation sources that are held against it.
QVector<CatalogueEntry> catalogue();

/// The context in which a class's texts are translated.
QString contextOf(const QString& className);

/// "context/text", as a value to look up and to print.
QString place(const QString& context, const QString& text);

/// The places of the whole catalogue.
QSet<QString> cataloguePlaces();
