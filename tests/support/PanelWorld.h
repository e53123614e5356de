#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// What a test sees of the simulated panel it runs in: the commands run, the device's
/// state files and the register areas. Everything here looks from outside; nothing calls
/// the product.
namespace PanelWorld {

/// Command lines run so far, oldest first, as the tools saw them: "/root/plat-intf/setbright 92",
/// "ifconfig eth0 up". Both modes write them down.
QStringList commands();

/// Forgets the commands written down so far, and their inputs.
void clearCommands();

/// The bytes that the command at @p index of commands() took from its standard input.
QByteArray inputOf(int index);

/// The 1024-byte device information image.
QByteArray image();
void setImage(const QByteArray& image);
/// Overwrites the bytes of the image from @p offset on.
void patchImage(int offset, const QByteArray& bytes);
/// Stores a width of the screen in pixels in the read-only record, as the device packs it.
void setScreenWidth(int width);

/// A file of the device's state: "backlight" (raw decimal), "usbslave", "serial", "mpi", "logo".
QByteArray state(const QString& name);
void setState(const QString& name, const QByteArray& content);

/// Replaces the platform tool /root/plat-intf/@p tool by a shell script with @p body.
/// An empty body removes the tool.
void replaceTool(const QString& tool, const QByteArray& body);
/// Puts the platform tools back as the panel came with them.
void restoreTools();

/// A whole file; empty when it cannot be read.
QByteArray fileContent(const QString& path);
/// Creates or replaces a file. Aborts the test program when that fails.
void writeFile(const QString& path, const QByteArray& content);

/// One bit of a register area file: @p bit counts from the least significant bit of byte 0.
bool areaBit(const QString& path, int bit);
void setAreaBit(const QString& path, int bit, bool value);
/// Overwrites the bytes of a register area file from @p offset on.
void patchFile(const QString& path, int offset, const QByteArray& bytes);

} // namespace PanelWorld
