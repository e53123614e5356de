#include "panelctl/ReplaceFile.h"

#include <QFileInfo>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

namespace {

QString reason()
{
    return qt_error_string(errno);
}

/// Of the old file, or those that every new file of this process has.
mode_t permissionsOf(const QByteArray& target)
{
    struct stat old = {};
    if (stat(target.constData(), &old) == 0) {
        return old.st_mode & ALLPERMS;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return DEFFILEMODE & ~mask;
}

} // namespace

QString replaceFile(const QString& path, const QByteArray& content)
{
    const QFileInfo old(path);
    const QString target = old.exists() ? old.canonicalFilePath() : path;
    QTemporaryFile draft(target + QString::fromLatin1(".XXXXXX"));
    if (!draft.open() || draft.write(content) != content.size() || !draft.flush()) {
        return draft.errorString();
    }
    const QByteArray name = QFile::encodeName(target);
    if (fchmod(draft.handle(), permissionsOf(name)) != 0 ||
        std::rename(QFile::encodeName(draft.fileName()).constData(), name.constData()) != 0) {
        return reason();
    }
    draft.setAutoRemove(false);
    return {};
}
