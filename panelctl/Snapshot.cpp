#include "panelctl/Snapshot.h"

#include "device/Latin1.h"
#include "device/ResolverFile.h"
#include "panelctl/Command.h"
#include "panelctl/Descriptor.h"
#include "panelctl/RecordFields.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/ResolverLines.h"
#include "panelctl/Wording.h"
#include "regstore/RegisterNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace {

using Changes = std::map<const Setting*, std::string>;
using Content = std::optional<QByteArray>;

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

Content contentOf(const std::string& path)
{
    QFile file(text(path));
    if (!file.exists()) {
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        throw Failure("cannot read " + path + ": " + file.errorString().toStdString());
    }
    return file.readAll();
}

/// The settings file with these keys. Qt writes it, into a copy, so that it looks as it does when
/// the window has changed it.
QByteArray settingsWith(const Changes& changes)
{
    const QTemporaryDir folder;
    const QString settings = QString::fromLatin1(SettingsKeys::file);
    const QString copy = folder.filePath(QFileInfo(settings).fileName());
    QFile::copy(settings, copy);
    {
        QSettings file(copy, QSettings::IniFormat);
        for (const auto& [setting, value] : changes) {
            if (setting->key) {
                file.setValue(
                    QString::fromLatin1(setting->key),
                    QString::fromLatin1(value == "on" ? setting->keyOn : setting->keyOff));
            }
        }
        file.sync();
        if (file.status() != QSettings::NoError) {
            throw Failure(std::string("cannot prepare ") + SettingsKeys::file);
        }
    }
    return contentOf(copy.toStdString()).value_or(QByteArray());
}

void removeFile(const std::string& path)
{
    const Descriptor folder(::open(QFile::encodeName(QFileInfo(text(path)).path()).constData(),
                                   O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (std::remove(path.c_str()) != 0 && errno != ENOENT) {
        throw Failure("cannot remove " + path + ": " + qt_error_string(errno).toStdString());
    }
    fsync(folder.number());
}

QString hexOf(const Value::Bytes& bytes)
{
    return text(Value::hex(bytes));
}

Value::Bytes bytesOf(const QJsonValue& hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex.toString().toLatin1());
    return {bytes.begin(), bytes.end()};
}

QJsonObject jsonOf(const std::map<std::string, Value::Bytes>& values)
{
    QJsonObject object;
    for (const auto& [name, bytes] : values) {
        object[text(name)] = hexOf(bytes);
    }
    return object;
}

/// The values of an object by name. Throws Failure when one of them is of another size.
template <typename SizeOf>
std::map<std::string, Value::Bytes> valuesOf(const QJsonObject& object, SizeOf sizeOf)
{
    std::map<std::string, Value::Bytes> values;
    for (auto at = object.begin(); at != object.end(); ++at) {
        const std::string name = at.key().toStdString();
        const Value::Bytes bytes = bytesOf(at.value());
        if (bytes.size() != sizeOf(name)) {
            throw Failure("'" + name + "' has " + Wording::counted(bytes.size(), "byte") +
                          " instead of " + std::to_string(sizeOf(name)));
        }
        values[name] = bytes;
    }
    return values;
}

std::size_t sizeOfField(const std::string& name)
{
    const RecordField* field = findField(name);
    return field ? field->size : 0;
}

std::size_t sizeOfRegister(const std::string& name)
{
    return RegisterValue::byteSize(RegisterValue::find(name));
}

} // namespace

Snapshot Snapshot::before(const PanelState& panel, const Changes& changes)
{
    Snapshot snapshot = after(panel, changes);
    snapshot.m_image =
        QByteArray(panel.image().bytes().data(), static_cast<int>(panel.image().bytes().size()));
    for (auto& [name, bytes] : snapshot.m_fields) {
        bytes = panel.image().field(fieldNamed(name));
    }
    for (auto& [name, bytes] : snapshot.m_registers) {
        bytes = RegisterValue::read(RegisterValue::find(name));
    }
    for (auto& [path, content] : snapshot.m_files) {
        content = contentOf(path);
    }
    return snapshot;
}

Snapshot Snapshot::after(const PanelState& panel, const Changes& changes)
{
    Snapshot snapshot;
    QByteArray resolver = panel.resolverText();
    for (const auto& [setting, value] : changes) {
        if (setting->home == Home::Servers) {
            resolver = ResolverLines::with(resolver, adapterOf(*setting),
                                           text(value).split(QLatin1Char(' '), Qt::SkipEmptyParts));
            snapshot.m_files[ResolverFile::path] = resolver;
        } else if (setting->home == Home::Field) {
            const RecordField& field = fieldNamed(setting->name);
            snapshot.m_fields[setting->name] =
                Value::parse(field.kind, value, panel.image().field(field));
        } else {
            const Value::Bytes empty(sizeOfRegister(setting->name));
            snapshot.m_registers[setting->name] = Value::parse(setting->kind, value, empty);
        }
        if (setting->key) {
            snapshot.m_files[SettingsKeys::file] = settingsWith(changes);
        }
    }
    return snapshot;
}

void Snapshot::restore() const
{
    if (!m_fields.empty()) {
        restoreImage();
    }
    restoreRegisters();
    restoreFiles();
}

void Snapshot::restoreImage() const
{
    std::optional<DeviceImage> image;
    try {
        image.emplace("");
    } catch (const Failure&) {
        if (m_image.isEmpty()) {
            throw;
        }
        DeviceImage::replaceDevice(m_image);
        image.emplace("");
    }
    bool isChanged = false;
    for (const auto& [name, bytes] : m_fields) {
        const RecordField& field = fieldNamed(name);
        if (image->field(field) != bytes) {
            image->setField(field, bytes);
            isChanged = true;
        }
    }
    if (isChanged) {
        image->save();
    }
}

void Snapshot::restoreRegisters() const
{
    for (const auto& [name, bytes] : m_registers) {
        const RegisterRow& row = RegisterValue::find(name);
        if (RegisterValue::read(row) != bytes) {
            // A runtime that is not there needs no notice: it reads the register when it starts.
            RegisterValue::write(row, bytes, findRegisterName(row.id)->announced == Announced::Yes);
        }
    }
}

void Snapshot::restoreFiles() const
{
    for (const auto& [path, content] : m_files) {
        if (contentOf(path) == content) {
            removeDraft(text(path));
            continue;
        }
        if (!content) {
            removeFile(path);
            continue;
        }
        const QString reason = replaceFile(text(path), *content);
        if (!reason.isEmpty()) {
            throw Failure("cannot write " + path + ": " + reason.toStdString());
        }
    }
}

QJsonObject Snapshot::toJson() const
{
    QJsonObject files;
    for (const auto& [path, content] : m_files) {
        files[text(path)] =
            content ? QJsonValue(QString::fromLatin1(content->toBase64())) : QJsonValue();
    }
    return {{"image"_l1, QString::fromLatin1(m_image.toHex())},
            {"fields"_l1, jsonOf(m_fields)},
            {"registers"_l1, jsonOf(m_registers)},
            {"files"_l1, files}};
}

Snapshot Snapshot::fromJson(const QJsonObject& object)
{
    Snapshot snapshot;
    snapshot.m_image = QByteArray::fromHex(object["image"_l1].toString().toLatin1());
    snapshot.m_fields = valuesOf(object["fields"_l1].toObject(), sizeOfField);
    snapshot.m_registers = valuesOf(object["registers"_l1].toObject(), sizeOfRegister);
    const QJsonObject files = object["files"_l1].toObject();
    for (auto at = files.begin(); at != files.end(); ++at) {
        snapshot.m_files[at.key().toStdString()] =
            at.value().isString()
                ? Content(QByteArray::fromBase64(at.value().toString().toLatin1()))
                : std::nullopt;
    }
    return snapshot;
}
