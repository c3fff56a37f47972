// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Dialogs.h"

#include "model/picture.h"

#include <QLayout>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QPushButton>

namespace {

/// Runs the box to its answer. The box's parent may be destroyed meanwhile and takes the box with it, so the box must
/// not stand on the stack; 0 is the answer then.
int run(QMessageBox* newBox)
{
    const QPointer<QMessageBox> box(newBox);
    const int answer = box->exec();
    if (box.isNull()) {
        return 0;
    }
    delete box.data();
    return answer;
}

} // namespace

void Dialogs::error(QWidget* parent, const QString& text)
{
    run(new QMessageBox(QMessageBox::Critical, QObject::tr("Text.error"), text, QMessageBox::Ok, parent));
}

void Dialogs::success(QWidget* parent, const QString& text)
{
    info(parent, QObject::tr("Text.success"), text);
}

void Dialogs::info(QWidget* parent, const QString& title, const QString& text)
{
    run(new QMessageBox(QMessageBox::Information, title, text, QMessageBox::Ok, parent));
}

bool Dialogs::confirm(QWidget* parent, const QString& title, const QString& text)
{
    return innerConfirm(parent, title, text, QPixmap());
}

bool Dialogs::confirmDeletePatient(QWidget* parent, const QString& name)
{
    return innerConfirm(parent, QObject::tr("Dialog.deletePatient"),
                        QObject::tr("Dialog.confirmDeletePatient").arg(name),
                        picture(QStringLiteral(":/images/patient-delete.png")));
}

bool Dialogs::confirmDeleteRecord(QWidget* parent, const QString& name)
{
    return innerConfirm(parent, QObject::tr("Dialog.deleteRecord"), QObject::tr("Dialog.confirmDeleteRecord").arg(name),
                        picture(QStringLiteral(":/images/record-delete.png")));
}

bool Dialogs::innerConfirm(QWidget* parent, const QString& title, const QString& text, const QPixmap& pixmap)
{
    auto* box = new QMessageBox(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent,
                                Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box->setModal(true);
    if (!pixmap.isNull()) {
        box->setIconPixmap(pixmap);
    }
    box->button(QMessageBox::Yes)->setText(QObject::tr("Text.yes"));
    box->button(QMessageBox::No)->setText(QObject::tr("Text.no"));
    box->setDefaultButton(QMessageBox::No);
    box->layout()->setContentsMargins(32, 24, 32, 24);
    return run(box) == QMessageBox::Yes;
}
