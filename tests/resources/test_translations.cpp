#include "tests/support/Text.h"

#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

/// The two compiled translations and the texts of the code.
class TranslationsTest : public QObject
{
    Q_OBJECT

private slots:
    void compiledFile_hasTheSizeOfTheListedMessages_data();
    void compiledFile_hasTheSizeOfTheListedMessages();
    void message_readsAsListed_data();
    void message_readsAsListed();
    void textWithoutTranslation_isInNeitherFile_data();
    void textWithoutTranslation_isInNeitherFile();
    void compiledFile_holdsNoFurtherMessage_data();
    void compiledFile_holdsNoFurtherMessage();
    void everyTextOfTheCode_isListed();
    void everyListedMessage_isInTheCode();
    void everyTextNeverShown_isListedAndNotInTheCode();
};

namespace {

/// A message of the compiled files; a null text is a message absent from that file.
struct Message
{
    const char* context;
    const char* source;
    const char* chinese;
    const char* english;
};

// clang-format off
const Message messages[] = {
    {"Settings", "Chinese", "中文", "中文"},
    {"Settings", "English", "EN", "EN"},
    {"Settings", "File Manager", "文件管理", "File Manager"},
    {"Settings", "General", "通用设置", "General"},
    {"Settings", "Network", "网络设置", "Network"},
    {"Settings", "Restart", "重启", "Restart"},
    {"Settings", "SD", "SD", "SD"},
    {"Settings", "Status:", "接口状态：", "Status:"},
    {"Settings", "System Settings", "系统设置", "System Settings"},
    {"Settings", "u disk1", "U盘1", "u disk1"},
    {"Settings", "u disk2", "U盘2", "u disk2"},
    {"Settings", "Version", "版本信息", "Version"},
    {"Settings", "WIFI", "WIFI设置", "WIFI"},
    {"GeneralSettings", "Auto Backlight Off:", "自动息屏：", "Auto Backlight Off:"},
    {"GeneralSettings", "Brightness:", "亮度：", "Brightness:"},
    {"GeneralSettings", "Buzzer:", "蜂鸣器：", "Buzzer:"},
    {"GeneralSettings", "Date&Time:", "日期与时间：", "Date&Time:"},
    {"GeneralSettings", "Fri", "周五", "Fri."},
    {"GeneralSettings", "Initial Window:", "初始画面：", "Initial Window:"},
    {"GeneralSettings", "Min", "分", "Min"},
    {"GeneralSettings", "Mon", "周一", "Mon."},
    {"GeneralSettings", "Sat", "周六", "Sat."},
    {"GeneralSettings", "setting", "修改", "setting"},
    {"GeneralSettings", "Sun", "周日", "Sun."},
    {"GeneralSettings", "Thu", "周四", "Thu."},
    {"GeneralSettings", "Tue", "周二", "Tue."},
    {"GeneralSettings", "Wed", "周三", "Wed."},
    {"NetworkSettings", "Auto", "自动", nullptr},
    {"NetworkSettings", "Backup DNS Server:", "DNS2：", "DNS2:"},
    {"NetworkSettings", "Default gateway info", "默认上网卡信息：", "Default Network Adapter Info:"},
    {"NetworkSettings", "Disable Network", "禁用网络：", "Disable Network:"},
    {"NetworkSettings", "DNS Server Info", "DNS服务器信息：", "DNS Server Info:"},
    {"NetworkSettings", "Dynamic IP", "动态IP", nullptr},
    {"NetworkSettings", "First DNS Server:", "DNS1：", "DNS1:"},
    {"NetworkSettings", "Gateway:", "    网关：", "Gateway:"},
    {"NetworkSettings", "IP Address:", "IP地址：", "IP Address:"},
    {"NetworkSettings", "IP is conflict with eth0!", "IP地址与有线网络0冲突！", "IP is conflict with eth0!"},
    {"NetworkSettings", "IP is conflict with eth1!", "IP地址与有线网络1冲突！", "IP is conflict with eth1!"},
    {"NetworkSettings", "MAC Address:", "MAC地址：", nullptr},
    {"NetworkSettings", "Network:", "网络：", "Network:"},
    {"NetworkSettings", "OuterNet State:", "外网Ping测试：", "OuterNet Ping Test:"},
    {"NetworkSettings", "Set as default gateway", "设为默认上网卡", "Set Default Network Adapter"},
    {"NetworkSettings", "Setting:", "设置：", nullptr},
    {"NetworkSettings", "Static IP", "静态IP", nullptr},
    {"NetworkSettings", "Subnet Mask:", "子网掩码：", "Subnet Mask:"},
    {"NetworkSettings", "test", "测试", nullptr},
    {"NetworkSettings", "test failed", "测试失败", nullptr},
    {"NetworkSettings", "test successful", "测试成功", nullptr},
    {"NetworkSettings", "Tips", "提示信息", nullptr},
    {"NetworkSettings", "wired network", "有线网络", "network"},
    {"InputDialog", "Input number is out of range!", "输入数字超出范围！", nullptr},
    {"InputDialog", "Tips", "提示信息", nullptr},
};
// clang-format on

struct Text
{
    const char* context;
    const char* source;
};

/// Texts of the code that have no entry and always show as they are.
const Text untranslated[] = {
    {"Settings", "TextLabel"}, {"Settings", "Settings"}, {"GeneralSettings", "Invalid Day"},
    {"InputDialog", "Dialog"}, {"InputDialog", "CLR"},   {"InputDialog", "ENTER"},
    {"InputDialog", "Min:"},   {"InputDialog", "Max:"},  {"DateTimeDialog", "Dialog"},
    {"DateTimeDialog", "/"},   {"DateTimeDialog", ":"},
};

/// Messages of buttons and labels that are built without a text and never get one.
const Text neverShown[] = {
    {"Settings", "WIFI"},       {"Settings", "File Manager"},           {"Settings", "Version"},
    {"GeneralSettings", "Min"}, {"NetworkSettings", "DNS Server Info"},
};

/// Rooms with texts that are shown.
const char* const rooms[] = {"settings", "general", "network", "dialogs", "device"};

using Key = QPair<QString, QString>;

Key keyOf(const char* context, const char* source)
{
    return {QString::fromUtf8(context), QString::fromUtf8(source)};
}

template <typename Row, std::size_t count>
QSet<Key> keysOf(const Row (&rows)[count])
{
    QSet<Key> keys;
    for (const Row& row : rows) {
        keys.insert(keyOf(row.context, row.source));
    }
    return keys;
}

QString compiledPath(const QByteArray& language)
{
    return ":/Languages/Translate_%1.qm"_s.arg(QString::fromLatin1(language));
}

/// Context and source of every message of a translation source, vanished ones left out.
QSet<Key> keysOfSource(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QSet<Key> keys;
    QString context;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (xml.name() == QLatin1String("source")) {
            keys.insert({context, xml.readElementText()});
        }
    }
    return keys;
}

/// The texts that the tool collects from the rooms, forms included.
QSet<Key> textsOfTheCode()
{
    const QTemporaryDir folder;
    const QString collected = folder.filePath("code.ts"_s);
    QStringList arguments{"-silent"_s, "-I"_s, QStringLiteral(REPOSITORY)};
    for (const char* room : rooms) {
        arguments << REPOSITORY "/"_s + QLatin1String(room);
    }
    arguments << "-ts"_s << collected;
    return QProcess::execute(QStringLiteral(LUPDATE), arguments) == 0 ? keysOfSource(collected)
                                                                      : QSet<Key>();
}

/// The keys for a failure's message, sorted.
QByteArray listOf(const QSet<Key>& keys)
{
    QStringList lines;
    for (const Key& key : keys) {
        lines << key.first + R"(: ")"_s + key.second + QLatin1Char('"');
    }
    lines.sort();
    return lines.join(QLatin1Char('\n')).toUtf8();
}

void addRow(const Message& message, const QByteArray& language, const char* text)
{
    const QByteArray name = language + ' ' + message.context + ' ' + message.source;
    QTest::newRow(name.constData())
        << language << QByteArray(message.context) << QByteArray(message.source)
        << QString::fromUtf8(text) << (text != nullptr);
}

} // namespace

void TranslationsTest::compiledFile_hasTheSizeOfTheListedMessages_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<qint64>("size");
    QTest::newRow("Chinese") << QByteArray("CN") << qint64{3196};
    QTest::newRow("English") << QByteArray("EN") << qint64{2957};
}

void TranslationsTest::compiledFile_hasTheSizeOfTheListedMessages()
{
    QFETCH(QByteArray, language);
    QFETCH(qint64, size);
    QCOMPARE(QFile(compiledPath(language)).size(), size);
}

void TranslationsTest::message_readsAsListed_data()
{
    QCOMPARE(std::size(messages), std::size_t{52});
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("present");
    for (const Message& message : messages) {
        addRow(message, "CN", message.chinese);
        addRow(message, "EN", message.english);
    }
}

void TranslationsTest::message_readsAsListed()
{
    QFETCH(QByteArray, language);
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);
    QFETCH(QString, text);
    QFETCH(bool, present);
    QTranslator translator;
    QVERIFY(translator.load(compiledPath(language)));
    const QString found = translator.translate(context.constData(), source.constData());
    // A null text is what makes tr() fall back to the source text.
    QCOMPARE(!found.isNull(), present);
    QCOMPARE(found, text);
}

void TranslationsTest::textWithoutTranslation_isInNeitherFile_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    for (const Text& text : untranslated) {
        const QByteArray name = QByteArray(text.context) + ' ' + text.source;
        QTest::newRow(name.constData()) << QByteArray(text.context) << QByteArray(text.source);
    }
}

void TranslationsTest::textWithoutTranslation_isInNeitherFile()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);
    for (const char* language : {"CN", "EN"}) {
        QTranslator translator;
        QVERIFY(translator.load(compiledPath(language)));
        QVERIFY(translator.translate(context.constData(), source.constData()).isNull());
    }
}

void TranslationsTest::compiledFile_holdsNoFurtherMessage_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<int>("count");
    QTest::newRow("Chinese") << QByteArray("CN") << 52;
    QTest::newRow("English") << QByteArray("EN") << 41;
}

void TranslationsTest::compiledFile_holdsNoFurtherMessage()
{
    QFETCH(QByteArray, language);
    QFETCH(int, count);
    const QTemporaryDir folder;
    const QString compiled = folder.filePath("bundled.qm"_s);
    const QString decompiled = folder.filePath("bundled.ts"_s);
    QVERIFY(QFile::copy(compiledPath(language), compiled));
    QCOMPARE(QProcess::execute(QStringLiteral(LCONVERT), {"-i"_s, compiled, "-o"_s, decompiled}),
             0);
    const QSet<Key> keys = keysOfSource(decompiled);
    QCOMPARE(keys.size(), count);
    const QSet<Key> unlisted = keys - keysOf(messages);
    QVERIFY2(unlisted.isEmpty(), listOf(unlisted));
}

void TranslationsTest::everyTextOfTheCode_isListed()
{
    const QSet<Key> code = textsOfTheCode();
    QVERIFY(!code.isEmpty());
    const QSet<Key> unlisted = code - keysOf(messages) - keysOf(untranslated);
    QVERIFY2(unlisted.isEmpty(), listOf(unlisted));
}

void TranslationsTest::everyListedMessage_isInTheCode()
{
    const QSet<Key> unused = keysOf(messages) - keysOf(neverShown) - textsOfTheCode();
    QVERIFY2(unused.isEmpty(), listOf(unused));
}

/// Keeps the list of exceptions honest: a text that has come, comes off it.
void TranslationsTest::everyTextNeverShown_isListedAndNotInTheCode()
{
    const QSet<Key> exceptions = keysOf(neverShown);
    QVERIFY(keysOf(messages).contains(exceptions));
    const QSet<Key> code = textsOfTheCode();
    for (const Key& key : code) {
        QVERIFY2(!exceptions.contains(key), listOf({key}));
    }
}

QTEST_GUILESS_MAIN(TranslationsTest)
#include "test_translations.moc"
