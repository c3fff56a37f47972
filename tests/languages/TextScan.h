// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVector>

/// A text that a source or a form gives to the translation.
struct FoundText
{
    QString file;
    int line;
    /// The class that the file is named for, or the form's class.
    QString user;
    /// The context that the call names, else the user's.
    QString context;
    QString text;
};

/// Whether a text has the form of a key, such as "Text.save".
bool looksLikeKey(const QString& text);

/// Every literal that is passed to tr() or translate(), and every other literal that looks like a key, such as those
/// of a table that is translated later. Comments are passed over. `user` is the class that unqualified calls speak for.
QVector<FoundText> textsInCode(const QString& code, const QString& file, const QString& user);

/// Every text of a form that is not marked as not to be translated.
QVector<FoundText> textsInForm(const QByteArray& form, const QString& file);

/// All of these below a folder: the *.cpp, *.h and *.ui files. A folder that does not exist has none.
QVector<FoundText> textsBelow(const QString& folder);
