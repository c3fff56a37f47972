// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <memory>

class LoopbackServer;
class MainWindow;
class QAction;
class QString;
class QWidget;

/// A window behind its login, with an empty list of patients, as a user of this language. Fails the running test if
/// the login does not lead there.
std::unique_ptr<MainWindow> loggedIn(LoopbackServer& server, const QByteArray& language = "en",
                                     const QByteArray& country = "US");

/// Expects the two requests of loggedIn() and its reply with this session.
void expectLogin(LoopbackServer& server, const QByteArray& language, const QByteArray& country);

/// For a ModalAnswer that waits for the login dialog.
bool isLogin(QWidget* widget);
/// Types a name and a password into the login dialog and confirms.
void logIn(QWidget* dialog);

/// Waits until every expected request has come and no overlay waits for a reply.
bool settled(const LoopbackServer& server, const MainWindow& window);

/// An entry of the window's menus by its object name.
QAction* menuEntry(const MainWindow& window, const char* name);
/// The entry of the language menu for this locale; null if there is none.
QAction* languageEntry(const MainWindow& window, const QString& locale);
