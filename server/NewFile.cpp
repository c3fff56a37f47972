// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/NewFile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace server {

namespace {

/// Others may take away a draft, or leave one, between two looks at it.
constexpr int maxTries = 10;

QString reason(int error)
{
    return qt_error_string(error);
}

/// Also of a link that leads nowhere.
bool isThere(const QString& path, struct stat& found)
{
    return lstat(QFile::encodeName(path).constData(), &found) == 0;
}

QString taken()
{
    return QStringLiteral("there is such a file already");
}

/// The entry of a file in its folder is on the disk when the folder is.
int synchronizeFolder(const QString& path)
{
    const int folder = open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return errno;
    // Some file systems have no such thing for folders.
    const int error = fsync(folder) == 0 || errno == EINVAL ? 0 : errno;
    close(folder);
    return error;
}

} // namespace

NewFile::NewFile(const QString& path)
    : m_path(QFileInfo(path).absoluteFilePath())
    , m_draft(m_path + QStringLiteral(".part"))
{
}

NewFile::~NewFile()
{
    if (m_descriptor < 0)
        return;
    if (isDraft())
        unlink(QFile::encodeName(m_draft).constData());
    close(m_descriptor);
}

QString NewFile::create()
{
    struct stat found;
    if (isThere(m_path, found))
        return S_ISDIR(found.st_mode) ? QStringLiteral("it is a folder") : taken();
    const QByteArray name = QFile::encodeName(m_draft);
    for (int i = 0; i < maxTries; ++i) {
        m_descriptor = open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
        const bool made = m_descriptor >= 0;
        if (!made) {
            if (errno != EEXIST)
                return reason(errno);
            m_descriptor = open(name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
            if (m_descriptor < 0 && errno == ENOENT)
                continue;
            if (m_descriptor < 0)
                return QStringLiteral("%1: %2").arg(m_draft, reason(errno));
        }
        const bool locked = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
        const int error = errno;
        if (locked && made && isDraft())
            return QString();
        QString failure;
        if (!locked)
            failure = error == EWOULDBLOCK ? QStringLiteral("another backup to this file is under way") : reason(error);
        else if (!made && isDraft() && unlink(name.constData()) != 0)
            failure = QStringLiteral("%1: %2").arg(m_draft, reason(errno));
        close(m_descriptor);
        m_descriptor = -1;
        if (!failure.isEmpty())
            return failure;
    }
    return QStringLiteral("%1 cannot be made").arg(m_draft);
}

QString NewFile::finish()
{
    if (fsync(m_descriptor) != 0)
        return reason(errno);
    if (!isDraft())
        return QStringLiteral("%1 was taken away").arg(m_draft);
    QString failure = takeName();
    if (!failure.isEmpty())
        return failure;
    close(m_descriptor);
    m_descriptor = -1;
    const int error = synchronizeFolder(m_path);
    if (error == 0)
        return QString();
    unlink(QFile::encodeName(m_path).constData());
    return reason(error);
}

bool NewFile::isDraft() const
{
    struct stat found;
    struct stat own;
    return isThere(m_draft, found) && fstat(m_descriptor, &own) == 0 && found.st_dev == own.st_dev &&
           found.st_ino == own.st_ino;
}

QString NewFile::takeName()
{
    const QByteArray from = QFile::encodeName(m_draft);
    const QByteArray to = QFile::encodeName(m_path);
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return QString();
    if (errno == EEXIST)
        return taken();
    if (errno != EINVAL && errno != ENOSYS)
        return reason(errno);
    // The file system has no such call; somebody may make the file just now, but hardly does.
    struct stat found;
    if (isThere(m_path, found))
        return taken();
    return rename(from.constData(), to.constData()) == 0 ? QString() : reason(errno);
}

} // namespace server
