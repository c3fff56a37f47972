// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Dialogs.h"

#include <QLayout>
#include <QMessageBox>
#include <QObject>
#include <QPushButton>

void Dialogs::error(QWidget* parent, const QString& text)
{
    QMessageBox::critical(parent, QObject::tr("Text.error"), text, QMessageBox::Ok);
}

void Dialogs::success(QWidget* parent, const QString& text)
{
    QMessageBox::information(parent, QObject::tr("Text.success"), text, QMessageBox::Ok);
}

void Dialogs::info(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox::information(parent, title, text, QMessageBox::Ok);
}

bool Dialogs::confirm(QWidget* parent, const QString& title, const QString& text)
{
    return innerConfirm(parent, title, text, QPixmap());
}

bool Dialogs::confirmDeletePatient(QWidget* parent, const QString& name)
{
    return innerConfirm(parent, QObject::tr("Dialog.deletePatient"),
                        QObject::tr("Dialog.confirmDeletePatient").arg(name),
                        QPixmap(QStringLiteral(":/images/patient-delete.png")));
}

bool Dialogs::confirmDeleteRecord(QWidget* parent, const QString& name)
{
    return innerConfirm(parent, QObject::tr("Dialog.deleteRecord"), QObject::tr("Dialog.confirmDeleteRecord").arg(name),
                        QPixmap(QStringLiteral(":/images/record-delete.png")));
}

bool Dialogs::innerConfirm(QWidget* parent, const QString& title, const QString& text, const QPixmap& pixmap)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent,
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box.setModal(true);
    if (!pixmap.isNull()) {
        box.setIconPixmap(pixmap);
    }
    box.button(QMessageBox::Yes)->setText(QObject::tr("Text.yes"));
    box.button(QMessageBox::No)->setText(QObject::tr("Text.no"));
    box.setDefaultButton(QMessageBox::No);
    box.layout()->setContentsMargins(32, 24, 32, 24);
    return box.exec() == QMessageBox::Yes;
}
