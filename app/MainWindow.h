// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QList>
#include <QMainWindow>
#include <QString>
#include <QTranslator>

class QAction;
class QStackedWidget;

namespace Ui {
class MainWindow;
}

/// The top window: a stack of screens with the patient list at its bottom, and the one player.
///
/// The window owns every screen; a screen that leaves the stack is dropped by deleteLater(). A screen works on copies
/// of what it is given, and lives until those above it are gone.
class MainWindow : public QMainWindow
{
    Q_OBJECT

signals:
    /// A player has been opened (true) or has reported its end (false).
    void onPlayerState(bool open);

public:
    /// Runs the login to its end: after a login the patient list stands; closing the login dialog ends the process.
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    /// Makes a locale such as "ru_RU" current; one the program does not speak becomes "en_US".
    void loadLanguage(QString locale);

public slots:
    void onLogin(bool ok);

    /// Takes the locale name from the action's data. The language changes once the server has taken it; the window
    /// bears the action's icon at once.
    void onLanguageChanged(QAction* action);
    void onMenuPassword();
    void onChangePassword(bool ok);
    void onMenuAbout();
    void onMenuUpdates();

    void onChoosePatient(Patient& patient);
    void onAnalysis(Patient& patient, QList<Record>& records);
    void onComparativeAnalysis(Patient& patient, QList<Record>& records);
    void onRecoveryHistory(Patient& patient, QList<Record>& records);
    void onReceipt(Patient& patient, Record& record);
    void onImpact(Patient& patient, Record& record, QList<Marker>& markers, bool flag);

    /// Drops the topmost screen.
    void screenBack();
    /// Drops every screen above the list.
    void showPatientsList();
    void patientDelete(QWidget* parent, Patient& patient);
    void patientDeleted();

    /// Plays raw samples of the program's format; `text` names the patient. Dropped while a player is open.
    void onPlayerInit(const QByteArray& bytes, const QString& text);

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void createLanguageMenu();
    void pushScreen(QWidget* screen);
    /// Connects the ways back that every screen above the card has.
    void connectBack(QWidget* screen);

    Ui::MainWindow* ui;
    QStackedWidget* stack;
    QTranslator translator;
    QString currentLanguage;
    bool playerOpen = false;
};
