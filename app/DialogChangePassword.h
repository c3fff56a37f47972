// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class DialogChangePassword;
}

/// Changes the password of the session's user. The server alone judges the passwords, also whether the new ones agree.
class DialogChangePassword : public QDialog
{
    Q_OBJECT

signals:
    /// True once the server has taken the new password and the session has the new token, false when the user
    /// cancelled or closed the window. Escape leaves without a word.
    void listener(bool ok);

public:
    explicit DialogChangePassword(QWidget* parent);
    ~DialogChangePassword() override;

public slots:
    /// Does nothing while a field is empty.
    void onConfirm();
    void onCancel();
    void onError(const QString& message);
    void onSuccess();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::DialogChangePassword> ui;
};
