#pragma once

#include "network/ChoiceBox.h"
#include "network/OctetRow.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>

#include <array>
#include <memory>

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

    /// Makes all parts, which can be asked and changed at once. Nothing shows before setLook().
    explicit AdapterPane(QWidget* parent);
    ~AdapterPane() override;

    const OctetRow& row(Value value) const { return *m_rows.at(value); }
    /// All twenty octet fields.
    QList<QLineEdit*> fields() const;

    // What the operator presses or chooses; the page connects and watches them.

    QPushButton& disableSwitch() const { return *m_disableSwitch; }
    QPushButton& defaultButton() const { return *m_defaultButton; }
    QPushButton& testButton() const { return *m_testButton; }
    ChoiceBox& modeBox() const { return *m_modeBox; }       ///< Item 0 static, 1 dynamic.
    ChoiceBox& defaultBox() const { return *m_defaultBox; } ///< Item 0 none, then each adapter.

    /// Gives the parts their font, sizes and style sheets and hangs them in the pane. They are
    /// outside of the tree of widgets until then: Qt styles every part anew whenever something
    /// above it changes. To be called when the pane hangs in its window and all of its ancestors
    /// have their styles. Does nothing the second time.
    void setLook(const QFont& font, const NetworkSizes& sizes);
    /// After setLook(), has Qt look for the rules of all those style sheets, and lays the parts
    /// out: most of the work, for which a hidden pane has time until it is shown. It is then done
    /// at the latest. Does nothing the second time.
    void place();
    /// Sets every text anew. Combo boxes keep their index, so that nothing counts as a choice.
    void setTexts(const PaneTexts& texts);

    /// Locks or unlocks the address fields and the MAC field.
    void setEditable(bool editable);
    /// Shows "0" in every address field.
    void blank();
    /// Shows a value; a missing or empty octet shows as "0".
    void showValue(Value value, const QStringList& octets) { m_rows.at(value)->setOctets(octets); }
    void showMac(const QString& text) { m_macField->setText(text); }
    // The default gateway that was chosen last.
    void showNetwork(const QString& text) { m_networkLabel->setText(text); }
    void showGateway(const QString& text) { m_gatewayLabel->setText(text); }
    /// Shows the mode. A change counts as a choice.
    void showMode(bool dynamic) { m_modeBox->setCurrentIndex(dynamic ? 1 : 0); }
    void setModeOffered(bool offered) { m_modeBox->setEnabled(offered); }
    /// Shows an item of the default-adapter box, none for one that it does not have. A change
    /// counts as a choice.
    void showDefault(int item) { m_defaultBox->setCurrentIndex(item); }
    /// The switch: on while the adapter is switched off.
    void showDisabled(bool disabled);
    void showLamp(Lamp lamp);
    void showTestButton(PingState state);

    /// Offers or hides the choice of adapter @p adapter as the default one. A hidden choice that is
    /// the current one gives way to the first, which counts as a choice.
    void setDefaultOffered(int adapter, bool offered);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildLeft();
    void buildInfoGroup();
    void buildRight();
    /// A caption and what belongs to it, side by side. Returns the caption.
    QLabel* addRow(int row, int column, QWidget* content);
    QWidget* makePingRow();
    void setStyles(QWidget& content);
    void setSizes(int fontHeight, const NetworkSizes& sizes);
    void setRowPlaces(const NetworkSizes& sizes);

    QWidget* m_content;
    std::unique_ptr<QWidget> m_outside;  ///< The content, until it hangs in the pane.
    std::unique_ptr<QGridLayout> m_grid; ///< Until the content is placed.
    std::array<OctetRow*, 5> m_rows{};
    std::array<QLabel*, 5> m_rowCaptions{};
    QLabel* m_disableCaption = nullptr;
    QPushButton* m_disableSwitch = nullptr;
    QGroupBox* m_infoGroup = nullptr;
    QLabel* m_networkLabel = nullptr;
    QLabel* m_gatewayLabel = nullptr;
    QLabel* m_modeCaption = nullptr;
    ChoiceBox* m_modeBox = nullptr;
    ChoiceBox* m_defaultBox = nullptr;
    QPushButton* m_defaultButton = nullptr;
    QLabel* m_pingCaption = nullptr;
    QLabel* m_lamp = nullptr;
    QPushButton* m_testButton = nullptr;
    QLabel* m_macCaption = nullptr;
    QLineEdit* m_macField = nullptr;
};
