// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"

#include "analysis/ViewAnalysis.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "analysis/ViewRecoveryHistory.h"
#include "app/Constants.h"
#include "app/DialogAbout.h"
#include "app/DialogChangePassword.h"
#include "app/Dialogs.h"
#include "app/TableKeys.h"
#include "app/switchTranslator.h"
#include "model/PatientManager.h"
#include "net/Authentication.h"
#include "net/Controller.h"
#include "net/DialogLogin.h"
#include "patients/ViewPatient.h"
#include "patients/ViewPatients.h"
#include "recipe/ViewImpact.h"
#include "recipe/ViewReceipt.h"
#include "signal/DialogPlayer.h"
#include "signal/Utils.h"
#include "ui_MainWindow.h"

#include <QActionGroup>
#include <QCloseEvent>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QTimer>

#include <cstdlib>

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , ui(new Ui::MainWindow)
    , stack(new QStackedWidget)
{
    loadLanguage(QLocale::system().name());
    ui->setupUi(this);
    setCentralWidget(stack);
    setMinimumSize(300, 300);

    auto* login = new DialogLogin(this);
    connect(login, SIGNAL(listener(bool)), this, SLOT(onLogin(bool)));
    login->exec();
    login->deleteLater();
}

MainWindow::~MainWindow()
{
    // A player that ends while the window comes down must find nobody to report to.
    const QList<DialogPlayer*> players = findChildren<DialogPlayer*>(QString(), Qt::FindDirectChildrenOnly);
    for (DialogPlayer* player : players) {
        player->disconnect();
        delete player;
    }
    delete stack;
    delete ui;
}

void MainWindow::loadLanguage(QString locale)
{
    if (!Constants::LANGUAGES.contains(locale)) {
        locale = QStringLiteral("en_US");
    }
    if (locale == currentLanguage) {
        return;
    }
    currentLanguage = locale;
    QLocale::setDefault(QLocale(locale));
    switchTranslator(translator, QStringLiteral("Translation_%1.qm").arg(locale));
}

void MainWindow::onLogin(bool ok)
{
    if (!ok) {
        std::exit(0);
    }
    loadLanguage(Authentication::getInstance()->getLocale());
    createLanguageMenu();
    showMaximized();

    auto* patients = new ViewPatients(this);
    connect(patients, SIGNAL(onChoosePatient(Patient&)), this, SLOT(onChoosePatient(Patient&)));
    connect(ui->menuAbout, SIGNAL(triggered()), this, SLOT(onMenuAbout()));
    connect(ui->menuPassword, SIGNAL(triggered()), this, SLOT(onMenuPassword()));
    connect(ui->menuUpdates, SIGNAL(triggered()), this, SLOT(onMenuUpdates()));
    pushScreen(patients);
}

void MainWindow::createLanguageMenu()
{
    auto* group = new QActionGroup(ui->menuLanguage);
    group->setExclusive(true);
    connect(group, SIGNAL(triggered(QAction*)), this, SLOT(onLanguageChanged(QAction*)));

    const QString current = Authentication::getInstance()->getLocale();
    for (const QString& locale : Constants::LANGUAGES) {
        auto* action = new QAction(QLocale::languageToString(QLocale(locale).language()), group);
        action->setIcon(QIcon(QStringLiteral(":/flags/%1.png").arg(locale)));
        action->setCheckable(true);
        action->setData(locale);
        ui->menuLanguage->addAction(action);
        group->addAction(action);
        if (locale == current) {
            action->setChecked(true);
        }
    }
}

void MainWindow::onLanguageChanged(QAction* action)
{
    if (action == nullptr) {
        return;
    }
    setWindowIcon(action->icon());
    const QString locale = action->data().toString();
    if (locale == currentLanguage) {
        return;
    }
    auto* controller = new Controller(this);
    controller->changeLocale(locale);
    connect(controller, &Controller::onSuccess, this, [this, locale] {
        const QPointer<MainWindow> alive(this);
        // The box still speaks the old language.
        Dialogs::success(this, tr("Text.changeLocaleSuccess"));
        if (alive != nullptr) {
            loadLanguage(locale);
        }
    });
    connect(controller, &Controller::onError, this, [this](const QString& message) { Dialogs::error(this, message); });
}

void MainWindow::onMenuPassword()
{
    const QPointer<DialogChangePassword> dialog(new DialogChangePassword(this));
    connect(dialog, SIGNAL(listener(bool)), this, SLOT(onChangePassword(bool)));
    dialog->exec();
    // The dialog goes with the window.
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void MainWindow::onChangePassword(bool ok)
{
    if (ok) {
        Dialogs::success(this, tr("Dialog.successChangePassword"));
    }
}

void MainWindow::onMenuAbout()
{
    const QPointer<DialogAbout> dialog(new DialogAbout(this));
    dialog->exec();
    if (!dialog.isNull()) {
        dialog->deleteLater();
    }
}

void MainWindow::onMenuUpdates()
{
    auto* controller = new Controller(this);
    controller->updates();
    connect(controller, &Controller::onBytes, this, [this](const QByteArray& bytes) {
        const bool update = Utils::bytesToJson(bytes).value(QLatin1String("update")).toBool(false);
        Dialogs::info(this, tr("Text.updatesTitle"), update ? tr("Text.updatesAvailable") : tr("Text.upToDate"));
    });
    connect(controller, &Controller::onError, this, [this](const QString& message) { Dialogs::error(this, message); });
}

void MainWindow::pushScreen(QWidget* screen)
{
    const QList<QTableView*> tables = screen->findChildren<QTableView*>();
    for (QTableView* table : tables) {
        new TableKeys(table);
    }
    stack->addWidget(screen);
    stack->setCurrentWidget(screen);
}

void MainWindow::onChoosePatient(Patient& patient)
{
    auto* card = new ViewPatient(this, &patient);
    connect(card, SIGNAL(onAnalysis(Patient&, QList<Record>&)), this, SLOT(onAnalysis(Patient&, QList<Record>&)));
    connect(card, SIGNAL(onComparativeAnalysis(Patient&, QList<Record>&)), this,
            SLOT(onComparativeAnalysis(Patient&, QList<Record>&)));
    connect(card, SIGNAL(onReceipt(Patient&, Record&)), this, SLOT(onReceipt(Patient&, Record&)));
    connect(card, SIGNAL(onRecoveryHistory(Patient&, QList<Record>&)), this,
            SLOT(onRecoveryHistory(Patient&, QList<Record>&)));
    connect(card, SIGNAL(onPatientsList()), this, SLOT(showPatientsList()));
    connect(card, SIGNAL(onPatientDelete(QWidget*, Patient&)), this, SLOT(patientDelete(QWidget*, Patient&)));
    connect(card, SIGNAL(onPlay(QByteArray, QString)), this, SLOT(onPlayerInit(QByteArray, QString)));
    pushScreen(card);
}

void MainWindow::connectBack(QWidget* screen)
{
    connect(screen, SIGNAL(onPatientsList()), this, SLOT(showPatientsList()));
    connect(screen, SIGNAL(onBack()), this, SLOT(screenBack()));
}

void MainWindow::onAnalysis(Patient& patient, QList<Record>& records)
{
    auto* analysis = new ViewAnalysis(this, &patient, &records);
    connectBack(analysis);
    pushScreen(analysis);
}

void MainWindow::onComparativeAnalysis(Patient& patient, QList<Record>& records)
{
    auto* comparison = new ViewComparativeAnalysis(this, &patient, &records);
    connectBack(comparison);
    pushScreen(comparison);
}

void MainWindow::onRecoveryHistory(Patient& patient, QList<Record>& records)
{
    auto* history = new ViewRecoveryHistory(this, &patient, &records);
    connectBack(history);
    pushScreen(history);
}

void MainWindow::onReceipt(Patient& patient, Record& record)
{
    auto* receipt = new ViewReceipt(this, &patient, &record);
    connectBack(receipt);
    connect(receipt, SIGNAL(onReceipt(Patient&, Record&, QList<Marker>&, bool)), this,
            SLOT(onImpact(Patient&, Record&, QList<Marker>&, bool)));
    pushScreen(receipt);
}

void MainWindow::onImpact(Patient& patient, Record& record, QList<Marker>& markers, bool flag)
{
    auto* impact = new ViewImpact(this, &patient, &record, &markers, flag);
    connectBack(impact);
    connect(impact, SIGNAL(onPlay(QByteArray, QString)), this, SLOT(onPlayerInit(QByteArray, QString)));
    connect(impact, &ViewImpact::onPatientCard, this, [this] {
        screenBack();
        screenBack();
    });
    auto* const receipt = qobject_cast<ViewReceipt*>(stack->currentWidget());
    connect(impact, &ViewImpact::onMarkerRemove, this, [receipt](const QString& id) {
        if (receipt != nullptr) {
            receipt->markerRemove(id);
        }
    });
    pushScreen(impact);
    emit onPlayerState(playerOpen);
}

void MainWindow::screenBack()
{
    const int count = stack->count();
    if (count == 0) {
        return;
    }
    QWidget* const top = stack->widget(count - 1);
    top->deleteLater();
    stack->removeWidget(top);
    stack->setCurrentIndex(count - 2);
}

void MainWindow::showPatientsList()
{
    stack->setCurrentIndex(0);
    for (int i = stack->count(); i >= 1; --i) {
        // The walk begins one beyond the last screen, where there is no widget.
        QWidget* const screen = stack->widget(i);
        if (screen != nullptr) {
            screen->deleteLater();
        }
        stack->removeWidget(screen);
    }
}

void MainWindow::patientDelete(QWidget* parent, Patient& patient)
{
    if (!Dialogs::confirmDeletePatient(parent, patient.getName())) {
        return;
    }
    PatientManager* const manager = PatientManager::getInstance();
    manager->remove(parent, &patient);
    connect(manager, SIGNAL(onPatientDeleted()), this, SLOT(patientDeleted()));
}

void MainWindow::patientDeleted()
{
    showPatientsList();
}

void MainWindow::onPlayerInit(const QByteArray& bytes, const QString& text)
{
    if (playerOpen) {
        return;
    }
    playerOpen = true;
    emit onPlayerState(true);

    auto* timer = new QTimer(this);
    auto* button = new QPushButton;
    button->setFlat(true);
    auto* player = new DialogPlayer(this, bytes, text);

    connect(player, &DialogPlayer::onFinish, this, [this, timer, button](bool finished) {
        if (finished) {
            QWidget* const screen = stack->currentWidget();
            const QPointer<MainWindow> alive(this);
            Dialogs::success(screen, tr("Text.impactFinished"));
            if (alive.isNull()) {
                return;
            }
        }
        statusBar()->removeWidget(button);
        delete button;
        timer->stop();
        delete timer;
        playerOpen = false;
        emit onPlayerState(false);
    });
    connect(button, &QPushButton::clicked, player, [player] {
        player->show();
        player->activateWindow();
    });
    connect(timer, &QTimer::timeout, this, [player, button] {
        const QAudio::State state = player->state();
        if (state == QAudio::ActiveState || state == QAudio::SuspendedState) {
            button->setText(player->getPatientName() + QStringLiteral(" [") + player->left() + QLatin1Char(']'));
            button->show();
        } else {
            button->hide();
            button->setText(QString());
        }
    });

    player->show();
    player->activateWindow();
    statusBar()->addWidget(button);
    timer->start(1000);
}

void MainWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LocaleChange) {
        const QString locale = QLocale::system().name();
        if (Constants::LANGUAGES.contains(locale)) {
            loadLanguage(locale);
        }
    } else if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
    }
    QMainWindow::changeEvent(event);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    if (Dialogs::confirm(this, tr("Text.closeTitle"), tr("Text.closeMessage"))) {
        event->accept();
    }
}

#include "moc_MainWindow.cpp"
