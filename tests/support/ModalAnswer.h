// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPixmap>
#include <QString>
#include <QTimer>

#include <functional>

/// Answers the next modal widget of a kind. Arm it before the call that opens the widget, and assert that it was used.
/// A modal widget that nobody answers within ten seconds is closed, so that a forgotten box fails and does not hang.
class ModalAnswer : public QObject
{
    Q_OBJECT

public:
    /// Runs `action` once, inside the event loop of the first active modal widget for which `accepts` is true.
    ModalAnswer(std::function<bool(QWidget*)> accepts, std::function<void(QWidget*)> action);

    bool used() const { return done; }

protected:
    void poll();

    std::function<bool(QWidget*)> accepts;
    std::function<void(QWidget*)> action;
    QTimer timer;
    int waited = 0;
    bool done = false;
};

/// Presses a button of the next message box, and keeps what the box said.
class BoxAnswer : public ModalAnswer
{
    Q_OBJECT

public:
    explicit BoxAnswer(QMessageBox::StandardButton button);

    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QPixmap pixmap;
    QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
    /// The widget that the box stood over.
    QWidget* parent = nullptr;
};
