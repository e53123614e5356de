// areas create and areas check.

#include "device/Latin1.h"
#include "panelctl/Commands.h"
#include "panelctl/Json.h"
#include "panelctl/RegisterValue.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/Value.h"
#include "panelctl/Wording.h"
#include "regstore/AreaFiles.h"
#include "regstore/RegisterNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A register's value in files that are made new.
struct Preset
{
    const RegisterRow* row;
    Value::Bytes value;
};

Preset parsePreset(const std::string& word)
{
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) {
        throw UsageError("'" + word + "' is not REGISTER=VALUE");
    }
    const RegisterRow& row = RegisterValue::find(word.substr(0, equals));
    const Value::Bytes empty(RegisterValue::byteSize(row));
    return {&row, Value::parse(kindOf(row), word.substr(equals + 1), empty)};
}

std::vector<Preset> parsePresets(const Arguments& given)
{
    std::vector<Preset> presets;
    for (const std::string& word : given.words) {
        const Preset preset = parsePreset(word);
        if (std::any_of(presets.begin(), presets.end(),
                        [&](const Preset& other) { return other.row == preset.row; })) {
            throw UsageError("'" + word + "': register " + RegisterValue::label(preset.row->id) +
                             " is given twice");
        }
        presets.push_back(preset);
        const AreaFile& area = areaFile(presets.back().row->area);
        if (given.has(Option::Stored) && !area.stored) {
            throw UsageError("'" + word + "' lies in memory; --stored does not make it");
        }
    }
    return presets;
}

/// Registers in bit areas are single bits.
void place(QByteArray& content, const Preset& preset)
{
    const auto offset = static_cast<int>(preset.row->offset);
    if (isBitArea(preset.row->area)) {
        const unsigned mask = 1U << offset % 8;
        const unsigned others = static_cast<unsigned char>(content[offset / 8]) & ~mask;
        content[offset / 8] = static_cast<char>(preset.value[0] != 0 ? others | mask : others);
    } else {
        std::memcpy(content.data() + offset, preset.value.data(), preset.value.size());
    }
}

[[noreturn]] void fail(const QString& path, const QString& reason)
{
    throw Failure("cannot make " + path.toStdString() + ": " + reason.toStdString());
}

void makeFolderOf(const QString& path)
{
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder)) {
        fail(folder, "no such folder can be made"_l1);
    }
}

void makeFile(const QString& path, const QByteArray& content)
{
    const QString reason = replaceFile(path, content);
    if (!reason.isEmpty()) {
        fail(path, reason);
    }
}

/// What became of a path: "made", "kept" or, for a file that was too short, "extended".
const char* makeArea(const AreaFile& area, const QString& path, const std::vector<Preset>& presets)
{
    const QFileInfo found(path);
    if (found.exists() && !found.isFile()) {
        fail(path, "it exists and is not a file"_l1);
    }
    if (found.exists()) {
        const bool isShort = found.size() < int(newAreaBytes);
        if (isShort && !QFile::resize(path, newAreaBytes)) {
            fail(path, "it is too short and cannot be extended"_l1);
        }
        return isShort ? "extended" : "kept";
    }
    QByteArray content(newAreaBytes, '\0');
    for (const Preset& preset : presets) {
        if (preset.row->area == area.area) {
            place(content, preset);
        }
    }
    makeFile(path, content);
    return "made";
}

const char* makePipe(const QString& path)
{
    constexpr mode_t everybody = 0777; // less the umask
    const QByteArray name = QFile::encodeName(path);
    if (mkfifo(name.constData(), everybody) == 0) {
        return "made";
    }
    const int error = errno;
    struct stat found = {};
    if (error != EEXIST || stat(name.constData(), &found) != 0) {
        fail(path, qt_error_string(error));
    }
    if (!S_ISFIFO(found.st_mode)) {
        fail(path, "it exists and is not a pipe"_l1);
    }
    return "kept";
}

/// Collects what became of the paths, and prints it.
class Report
{
public:
    explicit Report(bool json) : m_json(json) {}

    void add(const QString& path, const char* what)
    {
        m_rows.append(QJsonObject{{"path"_l1, path}, {"result"_l1, QString::fromLatin1(what)}});
        if (!m_json) {
            std::cout << what << ' ' << path.toStdString() << '\n';
        }
    }
    void finish() const
    {
        if (m_json) {
            Json::print(m_rows);
        }
    }

private:
    const bool m_json;
    QJsonArray m_rows;
};

/// What is wrong with the file of an area, nothing when it is as it was made. A shorter one lacks
/// registers; a longer one was written beyond its end, which makes it grow.
QString areaProblem(const QString& path)
{
    const QFileInfo found(path);
    if (!found.exists()) {
        return "is missing"_l1;
    }
    if (!found.isFile()) {
        return "is no file"_l1;
    }
    return found.size() == int(newAreaBytes) ? QString()
                                             : QString("has %1 instead of %2"_l1)
                                                   .arg(QString::fromStdString(Wording::counted(
                                                       std::size_t(found.size()), "byte")))
                                                   .arg(newAreaBytes);
}

QString pipeProblem(const QString& path)
{
    struct stat found = {};
    if (stat(QFile::encodeName(path).constData(), &found) != 0) {
        return "is missing"_l1;
    }
    return QString::fromLatin1(S_ISFIFO(found.st_mode) ? "" : "is no pipe");
}

/// Collects what is wrong with the paths, and prints it.
class Findings
{
public:
    explicit Findings(bool json) : m_json(json) {}

    void add(const QString& path, const QString& problem)
    {
        if (problem.isEmpty()) {
            return;
        }
        m_rows.append(QJsonObject{{"path"_l1, path}, {"problem"_l1, problem}});
        if (!m_json) {
            std::cout << path.toStdString() << ' ' << problem.toStdString() << '\n';
        }
    }
    void finish() const
    {
        if (m_json) {
            Json::print(m_rows);
        }
        if (!m_rows.isEmpty()) {
            throw Failure("the areas and pipes have " +
                          Wording::counted(std::size_t(m_rows.size()), "problem"));
        }
    }

private:
    const bool m_json;
    QJsonArray m_rows;
};

} // namespace

void Commands::areasCheck(const Arguments& given)
{
    const QString root = QFile::decodeName(given.value(Option::Root).c_str());
    Findings findings(given.has(Option::Json));
    for (const AreaFile& area : areaFiles) {
        if (area.stored || !given.has(Option::Stored)) {
            const QString path = root + QString::fromLatin1(area.path);
            findings.add(path, areaProblem(path));
        }
    }
    for (const char* pipe : {registerPipe, areaPipe}) {
        if (!given.has(Option::Stored)) {
            const QString path = root + QString::fromLatin1(pipe);
            findings.add(path, pipeProblem(path));
        }
    }
    findings.finish();
}

void Commands::areasCreate(const Arguments& given)
{
    const std::vector<Preset> presets = parsePresets(given);
    const QString root = QFile::decodeName(given.value(Option::Root).c_str());
    Report report(given.has(Option::Json));
    for (const AreaFile& area : areaFiles) {
        if (area.stored || !given.has(Option::Stored)) {
            const QString path = root + QString::fromLatin1(area.path);
            makeFolderOf(path);
            report.add(path, makeArea(area, path, presets));
        }
    }
    for (const char* pipe : {registerPipe, areaPipe}) {
        if (!given.has(Option::Stored)) {
            const QString path = root + QString::fromLatin1(pipe);
            report.add(path, makePipe(path));
        }
    }
    if (!given.has(Option::Root)) {
        ::sync(); // on the panel itself they have to outlive a power cut from now on
    }
    report.finish();
}
