// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/Stage.h"

#include "model/Patient.h"
#include "model/PatientManager.h"
#include "net/DialogLogin.h"
#include "net/LoadingWindow.h"
#include "patients/FormPatient.h"
#include "patients/PatientModel.h"
#include "tests/patients/Samples.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

namespace {

QString contentOf(const QWidget* widget)
{
    if (const auto* const label = qobject_cast<const QLabel*>(widget)) {
        return label->text();
    }
    if (const auto* const field = qobject_cast<const QLineEdit*>(widget)) {
        return field->text();
    }
    if (const auto* const button = qobject_cast<const QAbstractButton*>(widget)) {
        return button->text() + (button->isChecked() ? QStringLiteral(" (checked)") : QString());
    }
    if (const auto* const box = qobject_cast<const QComboBox*>(widget)) {
        QStringList items{box->currentText()};
        for (int i = 0; i < box->count(); ++i) {
            items.append(box->itemText(i));
        }
        return items.join(QLatin1Char('|'));
    }
    if (const auto* const box = qobject_cast<const QSpinBox*>(widget)) {
        return box->text();
    }
    if (const auto* const table = qobject_cast<const QTableView*>(widget)) {
        QStringList cells;
        for (int row = 0; row < table->model()->rowCount(); ++row) {
            for (int column = 0; column < table->model()->columnCount(); ++column) {
                const QModelIndex index = table->model()->index(row, column);
                cells.append(index.data().toString() + index.data(Qt::CheckStateRole).toString());
            }
        }
        return cells.join(QLatin1Char('|'));
    }
    return {};
}

} // namespace

bool eventually(const std::function<bool()>& condition)
{
    // Wakes the loop up even if nothing else happens.
    static QObject clock;
    const int tick = clock.startTimer(2);
    QElapsedTimer passed;
    passed.start();
    bool holds = condition();
    while (!holds && passed.elapsed() < 60000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        holds = condition();
    }
    clock.killTimer(tick);
    return holds;
}

Stage::Stage(LoopbackServer& loopback, BoxRecorder& recorder)
    : server(loopback)
    , boxes(recorder)
{
}

QJsonObject Stage::patient(const QString& id, const QString& name)
{
    QJsonObject json = Samples::patient(id, name);
    json.insert(QStringLiteral("hasDevices"), true);
    json.insert(QStringLiteral("isEnabled"), true);
    return json;
}

QByteArray Stage::firstPage()
{
    return Samples::toBytes(
        QJsonObject{{QStringLiteral("pages"), 2},
                    {QStringLiteral("data"), QJsonArray{patient(QStringLiteral("p1"), QStringLiteral("Ada Byron")),
                                                        patient(QStringLiteral("p2"), QStringLiteral("Bo Wen"))}}});
}

void Stage::expectFirst(const QByteArray& method, const QByteArray& target, const QByteArray& body) const
{
    LoopbackServer::Answer answer;
    answer.body = body;
    answer.headers.insert("Connection", "close");
    server.expect(method, target, answer);
}

void Stage::expectFirstPage()
{
    server.expect("GET",
                  "/patient/filter?sortby=name&direction=asc&size=20&current=0&searchby=name&needle=", firstPage());
}

void Stage::toList()
{
    server.expect("POST", "/auth/login",
                  R"({"accessToken": "first", "tokenType": "Bearer", "language": "en", "country": "US"})");
    expectFirstPage();
    inDialog([this] { window = std::make_unique<MainWindow>(); },
             [](QWidget* dialog) {
                 dialog->findChild<QLineEdit*>(QStringLiteral("usernameField"))->setText(QStringLiteral("ada"));
                 dialog->findChild<QLineEdit*>(QStringLiteral("passwordField"))->setText(QStringLiteral("secret"));
                 dialog->findChild<QPushButton*>(QStringLiteral("buttonConfirm"))->click();
             });
    settle();
}

void Stage::expectRecords()
{
    server.expect("GET", "/record/p1", Samples::records(3));
}

void Stage::openFirst() const
{
    QTableView* const patients = table();
    const QPoint place = patients->visualRect(patients->model()->index(0, 2)).center();
    QTest::mouseClick(patients->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    QTest::mouseDClick(patients->viewport(), Qt::LeftButton, Qt::NoModifier, place);
}

void Stage::toCard()
{
    toList();
    expectRecords();
    openFirst();
    settle();
}

void Stage::toAnalysis()
{
    toCard();
    check(1);
    server.expect("POST", "/analysis/summary",
                  R"({"columns": ["first"], "rows": [{"title": "Sleep", "values": [7]}]})");
    click("buttonAnalysis");
    settle();
}

void Stage::toHistory()
{
    toCard();
    check(1);
    server.expect("POST", "/patient/questionnaire",
                  R"({"dates": {"r2": "2021-03-03T10:00:00Z"},
                      "rows": [{"id": 1, "symptom": "Cough", "custom": false, "intensities": {"r2": 1}}]})");
    click("buttonRecoveryHistory");
    settle();
}

void Stage::expectReceipt()
{
    server.expect("GET", "/recipe/p1/r2",
                  R"([{"id": "m1", "title": "One", "amount": 1, "values": [50]},
                      {"id": "m2", "title": "Two", "amount": 1, "values": [60]}])");
    server.expect("GET", "/category/corrective/p1",
                  R"([{"title": "Heart", "storages": [{"id": "s1", "title": "Rhythms"}]}])");
}

void Stage::toReceipt()
{
    toCard();
    check(1);
    expectReceipt();
    click("buttonReceipt");
    settle();
}

void Stage::toImpact()
{
    toReceipt();
    click("buttonReceipt");
}

void Stage::settle()
{
    const bool reached = eventually([this] {
        return server.pending() == 0 && QApplication::activeModalWidget() == nullptr &&
               (window == nullptr || window->findChild<LoadingWindow*>() == nullptr);
    });
    if (!reached) {
        QStringList state{QStringLiteral("%1 requests did not come").arg(server.pending())};
        if (window != nullptr && window->findChild<LoadingWindow*>() != nullptr) {
            state.append(QStringLiteral("an overlay waits"));
        }
        if (QApplication::activeModalWidget() != nullptr) {
            state.append(QApplication::activeModalWidget()->objectName() + QStringLiteral(" is open"));
        }
        QTest::qFail(qPrintable(state.join(QStringLiteral(", "))), __FILE__, __LINE__);
    }
}

QWidget* Stage::top() const
{
    auto* const stack = qobject_cast<QStackedWidget*>(window->centralWidget());
    return stack == nullptr || stack->currentWidget() == nullptr ? window.get() : stack->currentWidget();
}

QPushButton* Stage::button(const char* name) const
{
    return top()->findChild<QPushButton*>(QString::fromLatin1(name));
}

QTableView* Stage::table(const char* name) const
{
    return top()->findChild<QTableView*>(QString::fromLatin1(name));
}

void Stage::pressIcon(QTableView* table, int row, int column)
{
    const QModelIndex index = table->model()->index(row, column);
    table->scrollTo(index);
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, table->visualRect(index).center());
}

void Stage::check(int records) const
{
    QAbstractItemModel* const model = table()->model();
    for (int row = 0; row < records; ++row) {
        model->setData(model->index(row, 0), Qt::Checked, Qt::CheckStateRole);
    }
}

void Stage::inDialog(const std::function<void()>& open, const std::function<void(QWidget*)>& act)
{
    bool acted = false;
    QTimer::singleShot(0, qApp, [&act, &acted] {
        acted = true;
        QWidget* const dialog = QApplication::activeModalWidget();
        if (dialog == nullptr) {
            QTest::qFail("No dialog has been opened", __FILE__, __LINE__);
            return;
        }
        act(dialog);
    });
    open();
    if (!acted) {
        QTest::qFail("The dialog did not run", __FILE__, __LINE__);
    }
}

void Stage::rejectDialogs()
{
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget* const widget : all) {
        auto* const dialog = qobject_cast<QDialog*>(widget);
        if (dialog != nullptr && dialog->isVisible()) {
            dialog->reject();
        }
    }
}

QStringList Stage::picture() const
{
    QWidgetList roots{window.get()};
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget* const widget : all) {
        if (qobject_cast<FormPatient*>(widget) != nullptr ||
            (window == nullptr && qobject_cast<MainWindow*>(widget) != nullptr)) {
            roots.append(widget);
        }
    }
    QStringList lines;
    for (const QWidget* const root : qAsConst(roots)) {
        if (root == nullptr) {
            continue;
        }
        const QList<QWidget*> widgets = root->findChildren<QWidget*>();
        for (const QWidget* const widget : widgets) {
            const bool covers = qobject_cast<const LoadingWindow*>(widget) != nullptr ||
                                qobject_cast<const LoadingWindow*>(widget->parentWidget()) != nullptr;
            if (covers || widget->objectName().isEmpty() || widget->objectName().startsWith(QLatin1String("qt_"))) {
                continue;
            }
            lines.append(QStringLiteral("%1 %2 %3 %4")
                             .arg(widget->objectName(),
                                  widget->isEnabled() ? QStringLiteral("enabled") : QStringLiteral("disabled"),
                                  widget->isHidden() ? QStringLiteral("hidden") : QStringLiteral("shown"),
                                  contentOf(widget)));
        }
    }
    return lines;
}

Patient Stage::listed(const QString& id)
{
    return PatientManager::getInstance()->getModel()->getPatientById(id);
}

QStringList Stage::column(const QTableView* table, int column)
{
    QStringList cells;
    for (int row = 0; row < table->model()->rowCount(); ++row) {
        cells.append(table->model()->index(row, column).data().toString().trimmed());
    }
    return cells;
}
