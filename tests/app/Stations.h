// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <functional>
#include <memory>

class LoopbackServer;
class MainWindow;
class QWidget;

/// Every screen, dialog and box of the program, filled, in the real window behind a login. The server's address has to
/// be free, and there has to be a display with a window manager.
class Stations
{
public:
    /// Logs in; fails the running test if that does not lead to the list. `locale` is one such as "en_US".
    explicit Stations(const QString& locale = QStringLiteral("en_US"));
    ~Stations();

    /// A name begins with that of the class.
    static QStringList screens();
    static QStringList dialogs();

    /// Opens the station as the active window and hands that window to `look`, then closes it. A dialog may be gone
    /// when `look` returns.
    void visit(const QString& name, const std::function<void(QWidget*)>& look);

    MainWindow* window() const { return main.get(); }
    LoopbackServer* server() const { return replies.get(); }
    /// The screen on top.
    QWidget* screen() const;
    /// Waits until no reply is waited for.
    bool idle() const;

private:
    void openScreen(const QString& name);
    QWidget* makeDialog(const QString& name);
    void runBox(const QString& name, const std::function<void(QWidget*)>& look);

    std::unique_ptr<LoopbackServer> replies;
    std::unique_ptr<MainWindow> main;
};
