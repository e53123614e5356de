#include "panelctl/ReplaceFile.h"

#include "fileio/Uninterrupted.h"
#include "panelctl/Descriptor.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

QString reason()
{
    return qt_error_string(errno);
}

/// The folder of a file, held by one replacement at a time, so that two commands do not take each
/// other's draft.
class Folder
{
public:
    explicit Folder(const QString& file)
        : m_folder(::open(QFile::encodeName(QFileInfo(file).path()).constData(),
                          O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_isHeld(m_folder.isOpen() && flock(m_folder.number(), LOCK_EX) == 0)
    {
    }
    int number() const { return m_folder.number(); }
    bool isHeld() const { return m_isHeld; }

private:
    const Descriptor m_folder;
    const bool m_isHeld;
};

/// A nameless file in the folder or, where there are none, a new one with the name.
int openDraft(const Folder& folder, const QByteArray& name)
{
    constexpr mode_t nobodyElse = 0600;
    unlinkat(folder.number(), name.constData(), 0); // of a command that was killed
    const int nameless = openat(folder.number(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, nobodyElse);
    return nameless >= 0 ? nameless
                         : openat(folder.number(), name.constData(),
                                  O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, nobodyElse);
}

bool writeAll(int file, const QByteArray& content)
{
    return Uninterrupted::write(file, content.constData(), std::size_t(content.size())) ==
           content.size();
}

/// Owner and permissions of the old file, or those that every new file of this process has.
bool takeOver(const Folder& folder, const QByteArray& old, int draft)
{
    struct stat found = {};
    if (fstatat(folder.number(), old.constData(), &found, 0) != 0) {
        const mode_t mask = umask(0);
        umask(mask);
        return fchmod(draft, DEFFILEMODE & ~mask) == 0;
    }
    // The owner first: to change it takes some permissions away.
    return fchown(draft, found.st_uid, found.st_gid) == 0 &&
           fchmod(draft, found.st_mode & ALLPERMS) == 0;
}

bool link(const Folder& folder, int draft, const QByteArray& name)
{
    const std::string nameless = "/proc/self/fd/" + std::to_string(draft);
    return linkat(AT_FDCWD, nameless.c_str(), folder.number(), name.constData(),
                  AT_SYMLINK_FOLLOW) == 0;
}

/// Puts the draft, which is complete, in the place of the file. A nameless one becomes a new file
/// at once; it takes the place of an old one only by a name of its own.
bool takePlace(const Folder& folder, int draft, const QByteArray& draftName, const QByteArray& name)
{
    struct stat found = {};
    if (fstat(draft, &found) != 0) {
        return false;
    }
    if (found.st_nlink == 0) {
        if (link(folder, draft, name)) {
            return true;
        }
        if (errno != EEXIST || !link(folder, draft, draftName)) {
            return false;
        }
    }
    return renameat(folder.number(), draftName.constData(), folder.number(), name.constData()) == 0;
}

/// The file itself where the path is a link.
QFileInfo targetOf(const QString& path)
{
    const QFileInfo old(path);
    return QFileInfo(old.exists() ? old.canonicalFilePath() : path);
}

QByteArray draftNameOf(const QFileInfo& target)
{
    return '.' + QFile::encodeName(target.fileName()) + ".new";
}

} // namespace

void removeDraft(const QString& path)
{
    const QFileInfo target = targetOf(path);
    const Folder folder(target.filePath());
    if (folder.isHeld()) {
        unlinkat(folder.number(), draftNameOf(target).constData(), 0);
    }
}

QString replaceFile(const QString& path, const QByteArray& content)
{
    const QFileInfo target = targetOf(path);
    const QByteArray name = QFile::encodeName(target.fileName());
    const QByteArray draftName = draftNameOf(target);
    const Folder folder(target.filePath());
    if (!folder.isHeld()) {
        return reason();
    }
    const Descriptor draft(openDraft(folder, draftName));
    if (draft.isOpen() && writeAll(draft.number(), content) &&
        takeOver(folder, name, draft.number()) && fsync(draft.number()) == 0 &&
        takePlace(folder, draft.number(), draftName, name) && fsync(folder.number()) == 0) {
        return {};
    }
    QString wrong = reason();
    unlinkat(folder.number(), draftName.constData(), 0);
    return wrong;
}
