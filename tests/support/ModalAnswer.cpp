// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/ModalAnswer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>

namespace {

constexpr int interval = 10;
constexpr int limit = 10000;

} // namespace

ModalAnswer::ModalAnswer(std::function<bool(QWidget*)> acceptsWidget, std::function<void(QWidget*)> actOn)
    : accepts(std::move(acceptsWidget))
    , action(std::move(actOn))
{
    connect(&timer, &QTimer::timeout, this, &ModalAnswer::poll);
    timer.start(interval);
}

void ModalAnswer::poll()
{
    QWidget* const modal = QApplication::activeModalWidget();
    if (modal == nullptr) {
        return;
    }
    if (modal->isVisible() && accepts(modal)) {
        timer.stop();
        done = true;
        action(modal);
        return;
    }
    waited += interval;
    if (waited >= limit) {
        timer.stop();
        QTest::qFail(qPrintable(QStringLiteral("A modal widget was left unanswered: ") + modal->objectName() +
                                QLatin1Char(' ') + modal->windowTitle()),
                     __FILE__, __LINE__);
        modal->close();
    }
}

BoxAnswer::BoxAnswer(QMessageBox::StandardButton button)
    : ModalAnswer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                  [this, button](QWidget* widget) {
                      auto* const box = qobject_cast<QMessageBox*>(widget);
                      title = box->windowTitle();
                      text = box->text();
                      icon = box->icon();
                      pixmap = box->iconPixmap();
                      buttons = box->standardButtons();
                      parent = box->parentWidget();
                      QAbstractButton* const choice = box->button(button);
                      if (choice == nullptr) {
                          QTest::qFail("The message box has no such button", __FILE__, __LINE__);
                          box->close();
                          return;
                      }
                      choice->click();
                  })
{
}

#include "moc_ModalAnswer.cpp"
