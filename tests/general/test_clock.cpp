#include "general/GeneralSettings.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QDateTime>
#include <QFontDatabase>
#include <QGridLayout>
#include <QTest>

#include <cstdlib>

namespace {

/// Sets the panel's clock, for this process as for all others of the panel.
void setClock(const char* date, const char* time)
{
    const QByteArray commands =
        QByteArray("date -s ") + date + " >/dev/null && date -s " + time + " >/dev/null";
    if (std::system(commands.constData()) != 0) {
        qFatal("cannot set the panel's clock");
    }
}

class Page
{
public:
    Page() : settings("/tmp/clock.ini"_s, QSettings::IniFormat)
    {
        EEInfoDetail::Flash_WR_1 record{};
        page.init(0, record, &settings);
    }

    QString text() const
    {
        const auto* grid = qobject_cast<QGridLayout*>(page.layout());
        return qobject_cast<QLabel*>(grid->itemAtPosition(2, 2)->widget())->text();
    }

    QSettings settings;
    GeneralSettings page;
};

} // namespace

class TestClock : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void format_isPadded_data();
    void format_isPadded();
    void tick_leadsIntoTheNewYear();
    void language_translatesTheWeekdayAtOnce();
    void nullMoment_isAnInvalidDay();
};

void TestClock::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestClock::format_isPadded_data()
{
    QTest::addColumn<QByteArray>("date");
    QTest::addColumn<QByteArray>("time");
    QTest::addColumn<QString>("start");
    QTest::newRow("single digits")
        << QByteArray("2024-3-7") << QByteArray("9:5:0") << "2024/03/07   Thu    09:05:0";
    QTest::newRow("Sunday") << QByteArray("2024-3-10") << QByteArray("0:0:0")
                            << "2024/03/10   Sun    00:00:0";
    QTest::newRow("leap day") << QByteArray("2028-2-29") << QByteArray("12:30:50")
                              << "2028/02/29   Tue    12:30:5";
}

void TestClock::format_isPadded()
{
    QFETCH(QByteArray, date);
    QFETCH(QByteArray, time);
    QFETCH(QString, start);
    Page panel;
    setClock(date.constData(), time.constData());
    panel.page.onUpdateurrentDateTime();
    // The last digit is left to the seconds that go by meanwhile.
    QCOMPARE(panel.text().left(start.size()), start);
    QCOMPARE(panel.text().size(), start.size() + 1);
}

void TestClock::tick_leadsIntoTheNewYear()
{
    Page panel;
    const auto lastSecond = "2024/12/31   Tue    23:59:59"_s;
    // It lasts a second only: on a busy machine it may be over before it is looked at.
    for (int attempt = 0; attempt < 10 && panel.text() != lastSecond; ++attempt) {
        setClock("2024-12-31", "23:59:59");
        panel.page.onUpdateurrentDateTime();
    }
    QCOMPARE(panel.text(), lastSecond);
    // The page's own timer does the rest.
    QTRY_VERIFY(panel.text().startsWith("2025/01/01   Wed    00:00:0"_s));
}

void TestClock::language_translatesTheWeekdayAtOnce()
{
    Page panel;
    setClock("2024-3-10", "12:00:00");
    panel.page.onUpdateurrentDateTime();
    setClock("2024-3-12", "12:00:00"); // what is shown stays the moment read before
    panel.page.onChangeLanguage(Settings::Chinese);
    QVERIFY(panel.text().startsWith(QString::fromUtf8("2024/03/10   周日    12:00:0")));
    panel.page.onChangeLanguage(Settings::English);
    QVERIFY(panel.text().startsWith("2024/03/10   Sun.    12:00:0"_s));
}

void TestClock::nullMoment_isAnInvalidDay()
{
    Page panel;
    // The signal hands the moment out by reference: a listener may change it.
    QObject::connect(&panel.page, &GeneralSettings::updateCurrentDateTime, &panel.page,
                     [](QDateTime& moment) { moment = QDateTime(); });
    panel.page.onUpdateurrentDateTime();
    panel.page.refresh();
    QVERIFY(panel.text().contains("   Invalid Day    "_s));
}

QTEST_MAIN(TestClock)
#include "test_clock.moc"
