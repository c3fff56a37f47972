// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>

#include <functional>

/// Answers every message box and file dialog of the program as soon as it is shown, and keeps what it said. Where
/// ModalAnswer waits for the one box that a test expects, this one also tells of boxes that should not have come.
class BoxRecorder : public QObject
{
    Q_OBJECT

public:
    struct Box
    {
        /// It asks for a yes or a no.
        bool question;
        QMessageBox::Icon icon;
        QString title;
        QString text;
        /// The widget that the box stood over. It may be gone by now.
        QWidget* parent;
    };

    BoxRecorder();

    /// What has been told or asked since the last clear(), in order.
    const QList<Box>& boxes() const { return shown; }
    /// The same without the questions.
    QList<Box> told() const;
    int questions() const;
    void clear() { shown.clear(); }

    /// What the next questions are answered with. Everything else is answered with Ok.
    void setAnswer(QMessageBox::StandardButton button) { answer = button; }
    /// Where the next file dialogs save; an empty name cancels them.
    void setFileName(const QString& name) { fileName = name; }
    /// Runs for each message box while it stands, before it is answered.
    void setVisitor(const std::function<void(QMessageBox*)>& function) { visitor = function; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void answerBox(QMessageBox* box);
    void answerFileDialog(QWidget* dialog);

    QList<Box> shown;
    QMessageBox::StandardButton answer = QMessageBox::Yes;
    QString fileName;
    std::function<void(QMessageBox*)> visitor;
};
