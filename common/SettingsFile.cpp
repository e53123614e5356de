#include "common/SettingsFile.h"

#include "device/SettingsKeys.h"
#include "fileio/StandardDescriptors.h"

#include <QString>

namespace {

/// @p standard lives until the base that is given the path is made, which reads the file.
QString pathUnder(const StandardDescriptors& /*standard*/)
{
    return QString::fromLatin1(SettingsKeys::file);
}

} // namespace

SettingsFile::SettingsFile() : QSettings(pathUnder(StandardDescriptors()), QSettings::IniFormat) {}

SettingsFile::~SettingsFile()
{
    const StandardDescriptors standard;
    sync(); // or the base would write what is left to write, without them
}

bool SettingsFile::event(QEvent* event)
{
    const StandardDescriptors standard; // changes are written by an event
    return QSettings::event(event);
}
