// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class DialogAutospectrum;
}

/// Asks how long an autospectrum shall last. Every way out ends in a rejected dialog: the answer travels by the signal
/// alone.
class DialogAutospectrum : public QDialog
{
    Q_OBJECT

signals:
    /// The chosen minutes, or 0 if the dialog was cancelled or closed. The Escape key says nothing.
    void listener(int minutes);

public:
    explicit DialogAutospectrum(QWidget* parent);
    ~DialogAutospectrum() override;

public slots:
    void onConfirm();
    void onCancel();
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::DialogAutospectrum> ui;
};
