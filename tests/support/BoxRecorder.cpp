// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/BoxRecorder.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <algorithm>

BoxRecorder::BoxRecorder()
{
    qApp->installEventFilter(this);
}

QList<BoxRecorder::Box> BoxRecorder::told() const
{
    QList<Box> all;
    std::copy_if(shown.cbegin(), shown.cend(), std::back_inserter(all), [](const Box& box) { return !box.question; });
    return all;
}

int BoxRecorder::questions() const
{
    return shown.size() - told().size();
}

bool BoxRecorder::eventFilter(QObject* watched, QEvent* event)
{
    // The window behind a widget sees the same event.
    if (event->type() != QEvent::Show || !watched->isWidgetType()) {
        return false;
    }
    // Answered from the loop that the dialog is about to enter; it may be gone by then, and the timer with it.
    if (auto* const box = qobject_cast<QMessageBox*>(watched)) {
        QTimer::singleShot(0, box, [this, box] { answerBox(box); });
    } else if (auto* const dialog = qobject_cast<QFileDialog*>(watched)) {
        QTimer::singleShot(0, dialog, [this, dialog] { answerFileDialog(dialog); });
    }
    return false;
}

void BoxRecorder::answerBox(QMessageBox* box)
{
    const bool question = box->standardButtons().testFlag(QMessageBox::Yes);
    shown.append({question, box->icon(), box->windowTitle(), box->text(), box->parentWidget()});
    if (visitor) {
        visitor(box);
    }
    QAbstractButton* const button = box->button(question ? answer : QMessageBox::StandardButton(QMessageBox::Ok));
    if (button == nullptr) {
        QTest::qFail("The message box has no such button", __FILE__, __LINE__);
        box->reject();
        return;
    }
    button->click();
}

void BoxRecorder::answerFileDialog(QWidget* widget)
{
    auto* const dialog = qobject_cast<QFileDialog*>(widget);
    if (fileName.isEmpty()) {
        dialog->reject();
        return;
    }
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(fileName);
    // accept() is protected in the class itself.
    static_cast<QDialog*>(dialog)->accept();
}

#include "moc_BoxRecorder.cpp"
