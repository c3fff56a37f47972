// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/PasswordPrompt.h"

#include "server/FormBody.h"

#include <QFile>

#include <cstdio>

#include <termios.h>
#include <unistd.h>

namespace server {

namespace {

constexpr qint64 maxLine = 4096;

/// Switches the echo of a terminal off while it lives.
class Unseen
{
public:
    Unseen()
    {
        tcgetattr(STDIN_FILENO, &m_before);
        termios quiet = m_before;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~Unseen() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before); }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;

private:
    termios m_before;
};

bool readLine(QFile& file, QString& line)
{
    QByteArray bytes = file.readLine(maxLine);
    while (bytes.endsWith('\n') || bytes.endsWith('\r'))
        bytes.chop(1);
    const std::optional<QString> text = FormBody::utf8(bytes);
    line = text.value_or(QString());
    return text.has_value();
}

bool ask(QFile& input, const char* question, QString& answer)
{
    std::fputs(question, stderr);
    std::fflush(stderr);
    const Unseen unseen;
    const bool read = readLine(input, answer);
    std::fputs("\n", stderr);
    return read;
}

} // namespace

bool PasswordPrompt::fromFile(const QString& path, QString& password, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    if (!readLine(file, password)) {
        error = QStringLiteral("the password in %1 is not UTF-8").arg(path);
        return false;
    }
    return true;
}

bool PasswordPrompt::fromInput(QString& password, QString& error)
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read the password from the standard input");
        return false;
    }
    if (!isatty(STDIN_FILENO)) {
        if (readLine(input, password))
            return true;
        error = QStringLiteral("the password is not UTF-8");
        return false;
    }
    QString again;
    if (!ask(input, "Password: ", password) || !ask(input, "Once more: ", again)) {
        error = QStringLiteral("the password is not UTF-8");
        return false;
    }
    if (password != again) {
        error = QStringLiteral("the passwords differ");
        return false;
    }
    return true;
}

} // namespace server
