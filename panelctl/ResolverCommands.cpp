// dns show, set and clear.

#include "adapters/AdapterTable.h"
#include "device/Latin1.h"
#include "device/ResolverFile.h"
#include "device/ResolverText.h"
#include "panelctl/Commands.h"
#include "panelctl/Json.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/ResolverLines.h"
#include "panelctl/Value.h"
#include "panelctl/Wording.h"

#include <QJsonObject>

#include <array>
#include <iostream>
#include <netinet/in.h>

namespace {

using ResolverLines::serverWords;

constexpr int adapters = int(adapterTable.size());

QString adapterName(int adapter)
{
    return QString::fromLatin1(adapterTable.at(std::size_t(adapter)).interfaceName);
}

int parseAdapter(const std::string& word)
{
    Words names;
    for (int adapter = 0; adapter < adapters; ++adapter) {
        names.push_back(adapterName(adapter).toStdString());
        if (word == names.back() || word == std::to_string(adapter)) {
            return adapter;
        }
    }
    throw UsageError("there is no adapter '" + word + "'; it takes " + Wording::anyOf(names));
}

int parseServer(const std::string& word)
{
    for (std::size_t index = 0; index < serverWords.size(); ++index) {
        if (word == serverWords[index]) {
            return static_cast<int>(index);
        }
    }
    throw UsageError("there is no server '" + word + "'; it takes " +
                     Wording::anyOf({serverWords.begin(), serverWords.end()}));
}

void writeText(const QByteArray& text)
{
    const QString reason = replaceFile(QString::fromLatin1(ResolverFile::path), text);
    if (!reason.isEmpty()) {
        throw Failure(std::string("cannot change ") + ResolverFile::path + ": " +
                      reason.toStdString());
    }
}

QJsonObject jsonOf(const QByteArray& text, int adapter)
{
    QJsonObject servers;
    for (int index = 0; index < int(serverWords.size()); ++index) {
        const bool isSet = ResolverText::hasServer(text, adapter, index);
        servers[QString::fromLatin1(serverWords[static_cast<std::size_t>(index)])] =
            isSet ? QJsonValue(ResolverText::server(text, adapter, index)) : QJsonValue();
    }
    return servers;
}

} // namespace

void Commands::dnsShow(const Arguments& given)
{
    const QByteArray text = ResolverLines::read();
    QJsonObject all;
    for (int adapter = 0; adapter < adapters; ++adapter) {
        const QJsonObject servers = jsonOf(text, adapter);
        all[adapterName(adapter)] = servers;
        for (const char* word : serverWords) {
            if (!given.has(Option::Json)) {
                const QString address = servers[QString::fromLatin1(word)].toString("-"_l1);
                std::cout << adapterName(adapter).toStdString() << ' ' << word << ' '
                          << address.toStdString() << '\n';
            }
        }
    }
    if (given.has(Option::Json)) {
        Json::print(all);
    }
}

void Commands::dnsSet(const Arguments& given)
{
    const int adapter = parseAdapter(given.words[0]);
    const int index = parseServer(given.words[1]);
    const Value::Bytes address =
        Value::parse(Kind::Ipv4, given.words[2], Value::Bytes(sizeof(in_addr)));
    const QByteArray text = ResolverLines::read();
    // Servers are told apart by their order alone.
    if (index == 1 && !ResolverText::hasServer(text, adapter, 0)) {
        throw Failure(given.words[0] + " has no first server yet; the backup would become it");
    }
    const QString shown = QString::fromStdString(Value::show(Kind::Ipv4, address));
    writeText(ResolverText::replaceServer(text, adapter, index, shown));
}

void Commands::dnsClear(const Arguments& given)
{
    const int adapter = parseAdapter(given.words[0]);
    const QByteArray text = ResolverLines::read();
    if (ResolverText::hasServer(text, adapter, 0)) { // otherwise there is no file to make
        writeText(ResolverText::withoutServers(text, adapter));
    }
}
