// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/app/LoggedIn.h"

#include "app/MainWindow.h"
#include "net/DialogLogin.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ModalAnswer.h"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>

std::unique_ptr<MainWindow> loggedIn(LoopbackServer& server, const QByteArray& language, const QByteArray& country)
{
    expectLogin(server, language, country);
    ModalAnswer login(isLogin, logIn);
    auto window = std::make_unique<MainWindow>(nullptr);
    const bool reached = login.used() && settled(server, *window);
    if (!reached) {
        QTest::qFail("The login did not lead to the list", __FILE__, __LINE__);
    }
    server.clear();
    return window;
}

void expectLogin(LoopbackServer& server, const QByteArray& language, const QByteArray& country)
{
    server.expect("POST", "/auth/login",
                  R"({"accessToken": "first", "tokenType": "Bearer", "language": ")" + language + R"(", "country": ")" +
                      country + R"(", "expiredAt": "2027-01-01"})");
    server.expect("GET", "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=",
                  R"({"pages": 1, "data": []})");
}

bool isLogin(QWidget* widget)
{
    return qobject_cast<DialogLogin*>(widget) != nullptr;
}

void logIn(QWidget* dialog)
{
    dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("ada"));
    dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("secret"));
    dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
}

bool settled(const LoopbackServer& server, const MainWindow& window)
{
    return QTest::qWaitFor([&server, &window] {
        return server.pending() == 0 && window.findChild<QWidget*>(QStringLiteral("LoadingWindow")) == nullptr;
    });
}

QAction* menuEntry(const MainWindow& window, const char* name)
{
    return window.findChild<QAction*>(QString::fromLatin1(name));
}

QAction* languageEntry(const MainWindow& window, const QString& locale)
{
    const QList<QAction*> entries = window.findChild<QMenu*>(QStringLiteral("menuLanguage"))->actions();
    for (QAction* entry : entries) {
        if (entry->data().toString() == locale) {
            return entry;
        }
    }
    return nullptr;
}
