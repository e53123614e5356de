// export, import, confirm and recover.

#include "device/Latin1.h"
#include "device/ResolverFile.h"
#include "panelctl/Commands.h"
#include "panelctl/ImportFile.h"
#include "panelctl/Journal.h"
#include "panelctl/Json.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/RunningPanel.h"
#include "panelctl/Wording.h"

#include <QFile>
#include <QJsonArray>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <set>

namespace {

using Changes = std::map<const Setting*, std::string>;

QByteArray readInput(const std::string& name)
{
    QFile file(QFile::decodeName(name.c_str()));
    if (name == "-" ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly)) {
        throw Failure("cannot read " + name + ": " + file.errorString().toStdString());
    }
    return file.readAll();
}

/// The parts that settings have, in the order of their table.
Words allParts()
{
    Words parts;
    for (const Setting& setting : panelSettings) {
        if (parts.empty() || parts.back() != partOf(setting)) {
            parts.emplace_back(partOf(setting));
        }
    }
    return parts;
}

/// The parts of "display,network"; all of them when there is none.
std::set<std::string> wantedParts(const Arguments& given)
{
    const Words known = allParts();
    std::set<std::string> parts;
    const QString list = QString::fromStdString(given.value(Option::Only));
    for (const QString& part : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const std::string word = part.toStdString();
        if (std::find(known.begin(), known.end(), word) == known.end()) {
            throw UsageError("there is no part '" + word + "'; --only takes " +
                             Wording::anyOf(known));
        }
        parts.insert(word);
    }
    return parts;
}

bool isWanted(const Setting& setting, const std::set<std::string>& parts, bool identity)
{
    const std::string part(partOf(setting));
    return (parts.empty() || parts.count(part) != 0) && (part != identityPart || identity);
}

/// Every error on a line of its own.
[[noreturn]] void refuse(const std::string& file, const std::vector<ImportError>& errors)
{
    for (const ImportError& error : errors) {
        std::cerr << "panelctl: " << error.place << ": " << error.text << '\n';
    }
    throw Failure(file + " has " + Wording::counted(errors.size(), "error") +
                  "; nothing is changed");
}

/// The settings of the file that are wanted and that the panel has otherwise.
Changes findChanges(const Arguments& given, const PanelState& panel)
{
    const std::set<std::string> parts = wantedParts(given);
    const ImportFile file(readInput(given.words[0]), panel);
    if (!file.errors().empty()) {
        refuse(given.words[0], file.errors());
    }
    Changes changes;
    for (const auto& [setting, value] : file.values()) {
        if (isWanted(*setting, parts, given.has(Option::Identity)) &&
            value != panel.value(*setting)) {
            changes[setting] = value;
        }
    }
    const std::vector<ImportError> errors = checkTogether(panel, changes);
    if (!errors.empty()) {
        refuse(given.words[0], errors);
    }
    return changes;
}

std::string shown(const std::string& value)
{
    return value.empty() ? "none" : value;
}

void printChanges(const PanelState& panel, const Changes& changes, const Arguments& given)
{
    QJsonArray rows;
    for (const auto& [setting, value] : changes) {
        const std::string before = panel.value(*setting);
        rows.append(QJsonObject{{"place"_l1, QString::fromLatin1(setting->place)},
                                {"before"_l1, jsonOf(*setting, before)},
                                {"after"_l1, jsonOf(*setting, value)}});
        if (!given.has(Option::Json)) {
            std::cout << setting->place << ": " << shown(before) << " -> " << shown(value) << '\n';
        }
    }
    if (given.has(Option::Json)) {
        Json::print(rows);
    }
}

std::set<std::string> placesOf(const Changes& changes)
{
    std::set<std::string> places;
    for (const auto& [setting, value] : changes) {
        places.insert(setting->place);
    }
    return places;
}

/// Seconds in which the import has to be confirmed, 0 when it need not be.
int secondsToConfirm(const Arguments& given)
{
    constexpr int most = 86400; // a day
    if (!given.has(Option::Confirm)) {
        return 0;
    }
    bool isNumber = false;
    const int wait = QString::fromStdString(given.value(Option::Confirm)).toInt(&isNumber);
    if (!isNumber || wait < 1 || wait > most) {
        throw UsageError("'" + given.value(Option::Confirm) +
                         "' does not fit: --confirm takes 1 to 86400 seconds");
    }
    return wait;
}

/// An address may change under the connection that this command was typed over: neither its end
/// nor an impatient operator stops what has begun. Killed or without power, it is taken back.
void ignoreEndOfConnection()
{
    for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        std::signal(number, SIG_IGN);
    }
}

/// All of it, or nothing when it fails on the way.
void apply(const PanelState& panel, const Changes& changes, const Arguments& given,
           const ChangeLock& lock)
{
    const int wait = secondsToConfirm(given);
    Journal journal(Snapshot::before(panel, changes), placesOf(changes), given.has(Option::Now),
                    wait);
    const Snapshot after = Snapshot::after(panel, changes);
    ignoreEndOfConnection();
    journal.save();
    try {
        if (wait > 0) {
            watchJournal(
                Watch::NewChange); // from now on, should this program not live to see the end
        }
        after.restore();
        if (journal.followsNow()) {
            lock.keep();
            RunningPanel::follow(PanelState(), journal.places());
        }
        if (wait > 0) {
            journal.complete();
            journal.save();
            return;
        }
    } catch (const Failure& failure) {
        journal.restore(lock);
        throw Failure(std::string(failure.what()) + "; the old settings are back");
    }
    Journal::remove();
}

/// Those of commands that were killed, beside every file of the panel that commands replace.
void removeDrafts()
{
    for (const char* path : {Journal::path, SettingsKeys::file, ResolverFile::path}) {
        removeDraft(QString::fromLatin1(path));
    }
}

} // namespace

void Commands::exportSettings(const Arguments& given)
{
    Json::print(exportState(PanelState(), given.has(Option::Identity)));
}

void Commands::importSettings(const Arguments& given)
{
    const ChangeLock lock;
    secondsToConfirm(given);
    if (Journal::load()) {
        throw Failure("another import waits for panelctl confirm");
    }
    const PanelState panel;
    const Changes changes = findChanges(given, panel);
    if (changes.empty()) {
        if (given.has(Option::Json)) {
            Json::print(QJsonArray());
        } else {
            std::cout << "nothing changes\n";
        }
        throw Unchanged();
    }
    if (!given.has(Option::DryRun)) {
        apply(panel, changes, given, lock);
    }
    printChanges(panel, changes, given);
}

void Commands::confirm(const Arguments& /*given*/)
{
    const ChangeLock lock;
    const std::optional<Journal> journal = Journal::load();
    if (!journal || journal->isOver()) {
        throw Failure("no import waits to be confirmed");
    }
    Journal::remove();
}

void Commands::recover(const Arguments& /*given*/)
{
    const bool isTakenBack = settleJournal();
    removeDrafts();
    if (!isTakenBack) {
        std::cout << "nothing was cut off\n";
        throw Unchanged();
    }
}
