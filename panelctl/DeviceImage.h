#pragma once

#include "device/EEInfoDetail.h"
#include "panelctl/RecordFields.h"
#include "panelctl/Value.h"

#include <QByteArray>

#include <array>

#include <string>
#include <vector>

/// The device information image: on the device, behind the platform tools, or in a file. On the
/// device only the writable records can be changed; in a file, which is a device that is being
/// made, all of them.
class DeviceImage
{
public:
    /// Reads the image of the device, or of @p file unless that is empty; "-" is standard input.
    /// Throws Failure when it cannot be read or is not 1024 bytes long.
    explicit DeviceImage(std::string file);

    /// Writes a whole image to the device, whose own cannot be read any more. Throws Failure.
    static void replaceDevice(const QByteArray& image);

    /// An image of zeros for a new file, which save() makes. Throws Failure when there is a file
    /// already.
    static DeviceImage create(const std::string& file);

    const std::array<char, EEInfoDetail::imageBytes>& bytes() const { return m_bytes; }
    Value::Bytes field(const RecordField& field) const;

    /// Whether save() can keep a change of this field.
    bool canChange(const RecordField& field) const;
    void setField(const RecordField& field, const Value::Bytes& value);

    /// Writes what was set, all of it in one piece; on the device all other bytes go back as they
    /// are there at that moment. Throws Failure, also when the device does not keep it.
    void save();

private:
    DeviceImage() = default;
    void load();
    void saveToDevice() const;

    std::string m_file;
    std::array<char, EEInfoDetail::imageBytes> m_bytes = {};
    std::vector<const RecordField*> m_changed;
};
