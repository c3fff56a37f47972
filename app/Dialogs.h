// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QString>

class QWidget;

/// Modal message boxes. Each call returns once the user has answered; closing a question counts as a no.
class Dialogs
{
public:
    static void error(QWidget* parent, const QString& text);
    static void success(QWidget* parent, const QString& text);
    static void info(QWidget* parent, const QString& title, const QString& text);

    static bool confirm(QWidget* parent, const QString& title, const QString& text);
    static bool confirmDeletePatient(QWidget* parent, const QString& name);
    /// `name` is what the user knows the record by: its date.
    static bool confirmDeleteRecord(QWidget* parent, const QString& name);
    /// A null `pixmap` leaves the question mark as the icon.
    static bool innerConfirm(QWidget* parent, const QString& title, const QString& text, const QPixmap& pixmap);
};
