#pragma once

#include "panelctl/PanelState.h"
#include "panelctl/Value.h"

#include <QByteArray>
#include <QJsonObject>

#include <map>
#include <optional>
#include <string>

/// What some fields, registers and files of the panel hold, before a change or after it.
class Snapshot
{
public:
    /// What the panel holds now of all that a change of these settings touches.
    static Snapshot before(const PanelState& panel,
                           const std::map<const Setting*, std::string>& changes);
    /// What the panel is to hold after these changes.
    static Snapshot after(const PanelState& panel,
                          const std::map<const Setting*, std::string>& changes);

    /// Brings the panel there: the image in one transfer, registers with their notices, files
    /// replaced whole. What the panel holds already is not written, so that restoring may
    /// be repeated after it was cut off. An image that somebody left broken is replaced by the one
    /// of the snapshot, if it has one. Throws Failure.
    void restore() const;

    QJsonObject toJson() const;
    /// Throws Failure when the object is no snapshot.
    static Snapshot fromJson(const QJsonObject& object);

private:
    void restoreImage() const;
    void restoreRegisters() const;
    void restoreFiles() const;

    QByteArray m_image; ///< The whole image; empty in a snapshot of the state after.
    std::map<std::string, Value::Bytes> m_fields;
    std::map<std::string, Value::Bytes> m_registers;
    std::map<std::string, std::optional<QByteArray>> m_files; ///< No value: no such file.
};
