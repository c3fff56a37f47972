// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MainWindow.h"
#include "tests/support/BoxRecorder.h"
#include "tests/support/LoopbackServer.h"

#include <QJsonObject>
#include <QPushButton>
#include <QStackedWidget>
#include <QString>
#include <QStringList>
#include <QTableView>

#include <functional>
#include <memory>

class Patient;

/// Runs the event loop until the condition holds; false after a minute, which only a machine that is very busy needs.
/// Unlike QTest::qWaitFor() it never sleeps while events are there.
bool eventually(const std::function<bool()>& condition);

#define EVENTUALLY(condition) QVERIFY2(eventually([&] { return (condition); }), #condition)

/// The real program before a user: the window, brought to one of its screens by the ways that a user has.
class Stage
{
public:
    Stage(LoopbackServer& server, BoxRecorder& boxes);

    LoopbackServer& server;
    BoxRecorder& boxes;
    /// Null before the login, and after the end.
    std::unique_ptr<MainWindow> window;

    /// Behind the login, with the patients p1 and p2. p1 has a device that is enabled and has no command.
    void toList();
    /// The card of p1, with the records r0, r1 and r2.
    void toCard();
    void toAnalysis();
    void toHistory();
    /// With the saved markers m1 and m2, one category and one storage.
    void toReceipt();
    void toImpact();

    /// The first of two requests in a chain; the connection ends with the reply, so that the second one needs its own.
    void expectFirst(const QByteArray& method, const QByteArray& target, const QByteArray& body) const;
    /// What the login leads to.
    void expectFirstPage();
    /// What the way to the receipt screen asks for.
    void expectReceipt();
    void expectRecords();

    /// Waits until every expected request has been served and no screen waits.
    void settle();
    /// The screen on top, or the window before there is one.
    QWidget* top() const;
    QPushButton* button(const char* name) const;
    /// Of the screen on top.
    QTableView* table(const char* name = "tableView") const;
    void click(const char* name) const { button(name)->click(); }
    /// Double-clicks the first patient of the list.
    void openFirst() const;
    /// Presses the icon of a cell.
    static void pressIcon(QTableView* table, int row, int column);
    void check(int records) const;
    /// Opens a modal dialog, and acts once its loop runs.
    static void inDialog(const std::function<void()>& open, const std::function<void(QWidget*)>& act);
    /// Gives up every dialog that is open.
    static void rejectDialogs();
    /// Drops every screen but the list.
    void dropScreens() const { window->showPatientsList(); }

    /// All that a user sees, a line a widget: what it says, whether it can be used, the cells of tables. Overlays are
    /// left out.
    QStringList picture() const;
    static Patient listed(const QString& id);
    static QStringList column(const QTableView* table, int column);

    static QJsonObject patient(const QString& id, const QString& name);
    static QByteArray firstPage();
};
