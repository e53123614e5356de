#pragma once

#include "network/OctetRow.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>

#include <array>

class QFont;
class QGroupBox;
class QGridLayout;

/// The sizes of the Network page on one screen, in pixels.
struct NetworkSizes
{
    int screenWidth;
    int buttonHeight;
    int defaultButtonWidth;
    int comboBoxHeight;
    int tabHeight;
    int fieldHeight;
    int rowGap; ///< Between two rows, above the first and below the last; 0 where room is tight.
};

/// Everything a pane says, in the language shown.
struct PaneTexts
{
    QString disableNetwork;
    QString defaultGatewayInfo;
    QString setting;
    QString staticIp;
    QString dynamicIp;
    QStringList rows; ///< Captions of the five address rows, in the order of AdapterPane::Value.
    QString setAsDefaultGateway;
    QString outerNetState;
    QString test;
    QString macAddress;
    QStringList defaultAdapters; ///< "Auto", then one text for each adapter shown.
};

/// The widgets of one adapter's tab. It shows, blanks, locks and reads them; it runs no command,
/// reads no file and has no texts of its own. Where the screen is too low for it, it scrolls.
class AdapterPane : public QScrollArea
{
    Q_OBJECT

public:
    /// The values with four octet fields.
    enum Value { Ip, Mask, Gateway, FirstDns, BackupDns };
    enum class PingState { Idle, Running };
    enum class Lamp { Idle, Success, Running };

    static constexpr int testButtonWidth = 100; ///< Pixels.

    explicit AdapterPane(QWidget* parent);

    OctetRow& row(Value value) { return *m_rows.at(value); }
    const OctetRow& row(Value value) const { return *m_rows.at(value); }
    /// All twenty octet fields.
    QList<QLineEdit*> fields() const;

    QPushButton& disableSwitch() { return *m_disableSwitch; }
    QPushButton& defaultButton() { return *m_defaultButton; }
    QPushButton& testButton() { return *m_testButton; }
    QComboBox& modeBox() { return *m_modeBox; }
    QComboBox& defaultBox() { return *m_defaultBox; }
    QLabel& networkLabel() { return *m_networkLabel; }
    QLabel& gatewayLabel() { return *m_gatewayLabel; }
    QLineEdit& macField() { return *m_macField; }

    void setLook(const QFont& font, const NetworkSizes& sizes);
    /// Sets every text anew. Combo boxes keep their index, so that nothing counts as a choice.
    void setTexts(const PaneTexts& texts);

    /// Locks or unlocks the address fields and the MAC field.
    void setEditable(bool editable);
    /// Shows "0" in every address field.
    void blank();
    /// The switch: on while the adapter is switched off.
    void showDisabled(bool disabled);
    void showLamp(Lamp lamp);
    void showTestButton(PingState state);

    /// Offers or hides the choice of adapter @p adapter as the default one. A hidden choice that is
    /// the current one gives way to the first, which counts as a choice.
    void setDefaultOffered(int adapter, bool offered);

private:
    void buildLeft(QGridLayout* grid);
    void buildRight(QGridLayout* grid);
    /// A caption and what belongs to it, side by side.
    void addRow(QGridLayout* grid, int row, int column, QLabel*& caption, QWidget* content);
    QWidget* makePingRow();
    void setRowPlaces(const NetworkSizes& sizes);

    std::array<OctetRow*, 5> m_rows{};
    std::array<QLabel*, 5> m_rowCaptions{};
    QLabel* m_disableCaption;
    QPushButton* m_disableSwitch;
    QGroupBox* m_infoGroup;
    QLabel* m_networkLabel;
    QLabel* m_gatewayLabel;
    QLabel* m_modeCaption;
    QComboBox* m_modeBox;
    QComboBox* m_defaultBox;
    QPushButton* m_defaultButton;
    QLabel* m_pingCaption;
    QLabel* m_lamp;
    QPushButton* m_testButton;
    QLabel* m_macCaption;
    QLineEdit* m_macField;
};
