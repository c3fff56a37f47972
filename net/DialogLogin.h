// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QString>

#include <memory>

namespace Ui {
class DialogLogin;
}

/// Asks for name and password until the server accepts them or the user gives up.
class DialogLogin : public QDialog
{
    Q_OBJECT

signals:
    /// True once the session stands, false when the window was closed. Escape leaves without a word.
    void listener(bool ok);

public:
    explicit DialogLogin(QWidget* parent);
    ~DialogLogin() override;

public slots:
    void onConfirm();
    void onError(const QString& message);
    void onSuccess();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::DialogLogin> ui;
};
