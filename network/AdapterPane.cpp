#include "network/AdapterPane.h"

#include "adapters/DottedQuad.h"
#include "common/SwitchStyle.h"
#include "device/Latin1.h"

#include <QCoreApplication>
#include <QFont>
#include <QGridLayout>
#include <QGroupBox>
#include <QListView>
#include <QPixmap>
#include <QScrollBar>
#include <QStandardItemModel>

namespace {

constexpr int lampSide = 30;     ///< Pixels.
constexpr int switchWidth = 70;  ///< Pixels.
constexpr int switchHeight = 30; ///< Pixels.

constexpr int sideMargin = 16;       ///< Pixels.
constexpr int infoTitlePadding = 10; ///< Pixels between title and content, as in the style below.

/// Places in the grid: captions and contents of the left half, a gap, those of the right half.
enum Column { LeftCaption, LeftContent, Gap, RightCaption, RightContent };

constexpr QLatin1String contentStyle =
    "QWidget#content{background-color:rgb(246,246,246);}"
    "QFrame#octets{background-color:white;border:1px solid rgb(163,198,218);border-radius:6px;}"
    "QFrame#octets:disabled,QFrame#octets QLineEdit:disabled{background-color:rgb(236,236,236);}"
    "QGroupBox{border:1px solid "
    "rgb(163,198,218);border-radius:6px;margin-top:9px;padding-top:10px;}"
    "QGroupBox::title{subcontrol-origin:margin;left:12px;padding:0px 4px;}"_l1;
/// The margin counts: without it, Qt takes room for arrow buttons off the way of the handle, which
/// a finger then cannot drag to the end.
constexpr QLatin1String scrollBarStyle =
    "QScrollBar:vertical{background:rgb(230,230,230);border:0px;margin:0px;width:28px;}"
    "QScrollBar::handle:vertical{background:rgb(96,157,191);border-radius:10px;margin:2px 4px;"
    "min-height:48px;}"
    "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0px;}"
    "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:none;}"_l1;
/// Black in every state: people read the MAC address off a locked tab as well, to enter it in the
/// DHCP server.
constexpr QLatin1String macStyle =
    "QLineEdit{border-width:0;border-style:outset;background:transparent;color:black;}"_l1;
constexpr QLatin1String defaultButtonStyle =
    "QPushButton#BlueButton{border-radius:8px;border:2px solid #008cba;color:black;"
    "background-color:rgba(163, 198, 218, 200);}"
    "QPushButton#BlueButton:pressed{background-color:#008cba;color:white;}"_l1;
constexpr QLatin1String testIdleStyle =
    "QPushButton#TestButton{border-radius:8px;margin:4px 2px;"
    "background-color:rgba(163, 198, 218, 200);color:black;border:2px solid #008cba;}"
    "QPushButton#TestButton:pressed{background-color:#008cba;color:white;}"_l1;
constexpr QLatin1String testRunningStyle =
    "QPushButton#TestButton{border-radius:8px;margin:4px 2px;"
    "background-color:rgba(255,170,0,150);color:black;border:2px solid rgba(255,170,0,255);}"
    "QPushButton#TestButton:pressed{background-color:rgba(255,170,0,255);color:white;}"_l1;

QLatin1String lampPicture(AdapterPane::Lamp lamp)
{
    switch (lamp) {
    case AdapterPane::Lamp::Success:
        return ":/Resources/k.lamp0_01.png"_l1;
    case AdapterPane::Lamp::Running:
        return ":/Resources/k.lamp0_02.png"_l1;
    case AdapterPane::Lamp::Idle:
        break;
    }
    return ":/Resources/k.lamp0_00.png"_l1;
}

void setChoices(QComboBox* box, const QStringList& texts)
{
    for (int at = 0; at < texts.size(); ++at) {
        if (at < box->count()) {
            box->setItemText(at, texts.at(at));
        } else {
            box->addItem(texts.at(at));
        }
    }
}

/// Each widget asks for its style when it is made, to have it as soon as events are delivered.
void withdrawPolishRequests(QWidget& parent)
{
    QCoreApplication::removePostedEvents(&parent, QEvent::PolishRequest);
    for (QWidget* child : parent.findChildren<QWidget*>()) {
        QCoreApplication::removePostedEvents(child, QEvent::PolishRequest);
    }
}

} // namespace

AdapterPane::AdapterPane(QWidget* parent)
    : QScrollArea(parent), m_content(new QWidget), m_outside(m_content), m_grid(new QGridLayout)
{
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    m_content->setObjectName("content"_l1);
    m_grid->setColumnStretch(LeftContent, 1);
    m_grid->setColumnMinimumWidth(Gap, 16);
    m_grid->setColumnStretch(RightContent, 1);
    buildLeft();
    buildRight();
    for (int row = 0; row < m_grid->rowCount(); ++row) {
        m_grid->setRowStretch(row, 1);
    }
}

AdapterPane::~AdapterPane() = default;

QLabel* AdapterPane::addRow(int row, int column, QWidget* content)
{
    auto* caption = new QLabel(m_content);
    m_grid->addWidget(caption, row, column);
    // Fields share what room there is; a button keeps its size.
    const bool fillsRow = qobject_cast<QFrame*>(content) || qobject_cast<QComboBox*>(content);
    m_grid->addWidget(content, row, column + 1,
                      fillsRow ? Qt::AlignVCenter : Qt::AlignLeft | Qt::AlignVCenter);
    return caption;
}

void AdapterPane::buildLeft()
{
    m_disableSwitch = new QPushButton(m_content);
    m_disableSwitch->setFixedSize(switchWidth, switchHeight);
    m_disableCaption = addRow(0, LeftCaption, m_disableSwitch);
    buildInfoGroup();

    m_modeBox = new ChoiceBox(m_content);
    m_modeCaption = addRow(2, LeftCaption, m_modeBox);
    m_defaultBox = new ChoiceBox(m_content);
    m_grid->addWidget(m_defaultBox, 3, LeftContent, Qt::AlignVCenter);

    m_defaultButton = new QPushButton(m_content);
    m_defaultButton->setObjectName("BlueButton"_l1);
    m_grid->addWidget(m_defaultButton, 4, LeftCaption, 1, 2, Qt::AlignLeft | Qt::AlignVCenter);
    m_pingCaption = addRow(5, LeftCaption, makePingRow());
}

/// Its place depends on the screen; see setRowPlaces().
void AdapterPane::buildInfoGroup()
{
    m_infoGroup = new QGroupBox(m_content);
    m_infoGroup->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(m_infoGroup);
    m_networkLabel = new QLabel(m_infoGroup);
    m_gatewayLabel = new QLabel(m_infoGroup);
    row->addWidget(m_networkLabel);
    row->addWidget(m_gatewayLabel, 1);
}

QWidget* AdapterPane::makePingRow()
{
    auto* row = new QWidget(m_content);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    m_lamp = new QLabel(row);
    m_lamp->setFixedSize(lampSide, lampSide);
    m_testButton = new QPushButton(row);
    m_testButton->setObjectName("TestButton"_l1);
    layout->addWidget(m_lamp);
    layout->addWidget(m_testButton);
    return row;
}

void AdapterPane::buildRight()
{
    int place = 0;
    for (OctetRow*& row : m_rows) {
        row = new OctetRow(m_content);
        m_rowCaptions.at(std::size_t(place)) = addRow(place, RightCaption, row);
        ++place;
    }
    m_macField = new QLineEdit(m_content);
    m_macField->setReadOnly(true);
    m_macField->setFocusPolicy(Qt::NoFocus);
    m_macField->setContextMenuPolicy(Qt::NoContextMenu);
    m_macCaption = addRow(place, RightCaption, m_macField);
}

QList<QLineEdit*> AdapterPane::fields() const
{
    QList<QLineEdit*> all;
    for (const OctetRow* row : m_rows) {
        all.append(QList<QLineEdit*>(row->fields().begin(), row->fields().end()));
    }
    return all;
}

/// Outside of the tree nothing is styled, and neither is the content when it moves into a viewport
/// that has its style already: Qt then asks none of those below. Only the group has to be, for its
/// title.
void AdapterPane::setLook(const QFont& font, const NetworkSizes& sizes)
{
    if (!m_outside) {
        return;
    }
    for (QWidget* child : m_content->findChildren<QWidget*>()) {
        child->setFont(font);
    }
    setSizes(QFontMetrics(font).height(), sizes);
    setRowPlaces(sizes);
    viewport()->ensurePolished();
    m_outside.release()->setParent(viewport());
    setStyles(*m_content);
    withdrawPolishRequests(*m_content);
    m_infoGroup->ensurePolished(); // it reckons its margins when its title is set
}

/// Styles each part once. Without its layout the content is not measured meanwhile.
void AdapterPane::place()
{
    if (m_grid && !m_outside) {
        setWidget(m_content);
        m_content->setLayout(m_grid.release());
        m_content->layout()->totalSizeHint(); // kept until the content changes
    }
}

void AdapterPane::showEvent(QShowEvent* event)
{
    QScrollArea::showEvent(event);
    place();
}

void AdapterPane::setStyles(QWidget& content)
{
    content.setStyleSheet(contentStyle);
    verticalScrollBar()->setStyleSheet(scrollBarStyle);
    m_defaultButton->setStyleSheet(defaultButtonStyle);
    m_macField->setStyleSheet(macStyle);
    for (OctetRow* row : m_rows) {
        row->setStyles();
    }
    for (ChoiceBox* box : {m_modeBox, m_defaultBox}) {
        box->setStyles();
    }
    showLamp(Lamp::Idle);
    showTestButton(PingState::Idle);
}

void AdapterPane::setSizes(int fontHeight, const NetworkSizes& sizes)
{
    for (OctetRow* row : m_rows) {
        row->setFieldHeight(sizes.fieldHeight);
    }
    for (QComboBox* box : {m_modeBox, m_defaultBox}) {
        box->setFixedHeight(sizes.comboBoxHeight);
    }
    // Where there is room, its frame is as high as a combo box, with the line a little below its
    // middle, away from the title.
    const int room = sizes.comboBoxHeight - fontHeight;
    m_infoGroup->layout()->setContentsMargins(12, qMax(0, room / 2 - infoTitlePadding + 4), 12,
                                              qMax(2, room / 2 - 4));
    m_defaultButton->setFixedSize(sizes.defaultButtonWidth, sizes.buttonHeight);
    m_testButton->setFixedSize(testButtonWidth, sizes.buttonHeight);
}

void AdapterPane::setRowPlaces(const NetworkSizes& sizes)
{
    m_grid->setContentsMargins(sideMargin, sizes.rowGap, sideMargin, sizes.rowGap);
    m_grid->setVerticalSpacing(sizes.rowGap);
    // Two rows have a button. Where there is little room, the others are as high but for a pixel,
    // and the group, which is higher, lies in the middle of three rows: its neighbours leave that
    // much free.
    const bool isTight = sizes.rowGap == 0;
    m_grid->addWidget(m_infoGroup, isTight ? 0 : 1, LeftCaption, isTight ? 3 : 1, 2,
                      Qt::AlignVCenter);
    for (int row = 0; row < m_grid->rowCount(); ++row) {
        m_grid->setRowMinimumHeight(row, sizes.buttonHeight - 1);
    }
}

void AdapterPane::setTexts(const PaneTexts& texts)
{
    m_disableCaption->setText(texts.disableNetwork);
    m_infoGroup->setTitle(texts.defaultGatewayInfo);
    m_modeCaption->setText(texts.setting);
    setChoices(m_modeBox, {texts.staticIp, texts.dynamicIp});
    setChoices(m_defaultBox, texts.defaultAdapters);
    for (std::size_t row = 0; row < m_rowCaptions.size(); ++row) {
        m_rowCaptions.at(row)->setText(texts.rows.value(int(row)));
    }
    m_defaultButton->setText(texts.setAsDefaultGateway);
    m_pingCaption->setText(texts.outerNetState);
    m_testButton->setText(texts.test);
    m_macCaption->setText(texts.macAddress);
}

void AdapterPane::setEditable(bool editable)
{
    for (OctetRow* row : m_rows) {
        row->setEnabled(editable);
    }
    m_macField->setEnabled(editable);
}

void AdapterPane::blank()
{
    for (OctetRow* row : m_rows) {
        row->setOctets(DottedQuad::zero());
    }
}

void AdapterPane::showDisabled(bool disabled)
{
    m_disableSwitch->setStyleSheet(switchStyle(disabled));
}

void AdapterPane::showLamp(Lamp lamp)
{
    m_lamp->setPixmap(QPixmap(lampPicture(lamp)).scaled(lampSide, lampSide));
}

void AdapterPane::showTestButton(PingState state)
{
    m_testButton->setStyleSheet(state == PingState::Running ? testRunningStyle : testIdleStyle);
}

void AdapterPane::setDefaultOffered(int adapter, bool offered)
{
    const int row = adapter + 1;
    auto* list = qobject_cast<QListView*>(m_defaultBox->view());
    auto* model = qobject_cast<QStandardItemModel*>(m_defaultBox->model());
    if (row >= m_defaultBox->count() || !list || !model) {
        return;
    }
    list->setRowHidden(row, !offered);
    // A hidden row could still be reached with keys or a wheel.
    model->item(row)->setEnabled(offered);
    if (!offered && m_defaultBox->currentIndex() == row) {
        m_defaultBox->setCurrentIndex(0);
    }
}
