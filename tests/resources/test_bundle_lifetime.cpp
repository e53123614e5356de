#include "tests/support/Text.h"

#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QtTest>

/// The bundle as a host meets it: inside a library that comes and goes. This program does not link
/// the bundle itself.
class BundleLifetimeTest : public QObject
{
    Q_OBJECT

private slots:
    void loadingTheLibrary_bringsTheBundle();
    void unloadingTheLibrary_takesTheBundleAway();
    void loadingTwice_bringsItAgain();
};

namespace {

const QString& picture()
{
    static const QString path = ":/Resources/plus.png"_s;
    return path;
}

} // namespace

void BundleLifetimeTest::loadingTheLibrary_bringsTheBundle()
{
    QVERIFY(!QFile::exists(picture()));
    QLibrary carrier(QStringLiteral(CARRIER_FILE));
    QVERIFY2(carrier.load(), qPrintable(carrier.errorString()));
    QVERIFY(QFile::exists(picture()));
    QVERIFY(carrier.unload());
}

void BundleLifetimeTest::unloadingTheLibrary_takesTheBundleAway()
{
    const QStringList before = QDir(":/"_s).entryList();
    QLibrary carrier(QStringLiteral(CARRIER_FILE));
    QVERIFY2(carrier.load(), qPrintable(carrier.errorString()));
    QVERIFY(QDir(":/"_s).entryList() != before);
    QVERIFY(carrier.unload());
    QCOMPARE(QDir(":/"_s).entryList(), before);
}

void BundleLifetimeTest::loadingTwice_bringsItAgain()
{
    for (int round = 0; round < 2; ++round) {
        QLibrary carrier(QStringLiteral(CARRIER_FILE));
        QVERIFY2(carrier.load(), qPrintable(carrier.errorString()));
        QFile file(picture());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().startsWith("\x89PNG"));
        file.close();
        QVERIFY(carrier.unload());
        QVERIFY(!QFile::exists(picture()));
    }
}

QTEST_GUILESS_MAIN(BundleLifetimeTest)
#include "test_bundle_lifetime.moc"
