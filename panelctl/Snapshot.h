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
    /// What it is to hold then.
    static Snapshot after(const PanelState& panel,
                          const std::map<const Setting*, std::string>& changes);

    /// Brings the panel there: the image in one transfer, registers with their notices, files
    /// replaced whole. What is so already is not written, so it may be done again after it was cut
    /// off. An image that somebody left broken is replaced by the one of the snapshot, if it has
    /// one. Throws Failure.
    void restore() const;

    QJsonObject toJson() const;
    /// Throws Failure when it is none.
    static Snapshot fromJson(const QJsonObject& object);

private:
    void restoreImage() const;
    void restoreRegisters() const;
    void restoreFiles() const;

    QByteArray m_image; ///< All of it; empty in what comes after.
    std::map<std::string, Value::Bytes> m_fields;
    std::map<std::string, Value::Bytes> m_registers;
    std::map<std::string, std::optional<QByteArray>> m_files; ///< Nothing for a missing one.
};
