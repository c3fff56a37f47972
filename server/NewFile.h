// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// A file that gets its name once it is whole and on the disk. Until then it is a draft beside that name, with ".part"
/// after it, which goes with this object; one that a killed process left is taken away by the next.
class NewFile
{
public:
    explicit NewFile(const QString& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Makes the empty draft, which only its owner may read. The reason if that fails, or if there is anything of the
    /// name already, else an empty text.
    QString create();
    QString draft() const { return m_draft; }
    /// Gives the name to what others have written into the draft and closed. The reason on failure, after which there
    /// is no file of the name, else an empty text.
    QString finish();

private:
    bool isDraft() const;
    QString takeName();

    QString m_path;
    QString m_draft;
    int m_descriptor = -1; ///< of the draft, locked as long as it is in work
};

} // namespace server
