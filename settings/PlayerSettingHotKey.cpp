// Page 2 of the settings dialog: the table of keys. It shows the bindings and changes none.
#include "settings/PlayerSettingDlg.h"

#include "widgets/StaticTitle.h"

#include <QHeaderView>
#include <QTableWidget>

namespace {

constexpr int kRows = 15; // the last four are empty
constexpr int kMouse = 0; // columns
constexpr int kCombination = 1;
constexpr int kKey = 2;

QTableWidgetItem* Item(const QString& strText) {
    auto* pItem = new QTableWidgetItem(strText);
    QFont fontText;
    fontText.setPointSize(8);
    pItem->setFont(fontText);
    return pItem;
}

} // namespace

void CPlayerSetting::CreatehotKeyTable(QDialog* /*pDlg*/) {
    m_ctrls.pKey->setObjectName(QStringLiteral("m_pKey"));
    SetHeading(m_ctrls.pKey, {0, 15, 331, 25});
    m_ctrls.pKey->setText(tr("Hot Key"));

    QTableWidget* pTable = m_ctrls.pKeyTable;
    pTable->setObjectName(QStringLiteral("m_pKeyTable"));
    pTable->setGeometry(10, 60, 311, 231);
    pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    pTable->setColumnCount(3);
    pTable->setRowCount(kRows);
    pTable->horizontalHeader()->setMinimumSectionSize(15);
    pTable->horizontalHeader()->setDefaultSectionSize(52);
    pTable->verticalHeader()->setMinimumSectionSize(16);
    pTable->verticalHeader()->setDefaultSectionSize(18);

    // The first column has two titles, of which the second stays: the commands stand in the rows' headers.
    const struct {
        int nColumn;
        QString strTitle;
    } aTitles[] = {{kMouse, tr("Control Command")},
                   {kMouse, tr("Mouse HotKey")},
                   {kCombination, tr("Combination Key")},
                   {kKey, tr("Hot Keys")}};
    for (const auto& title : aTitles) {
        QTableWidgetItem* pItem = Item(title.strTitle);
        pItem->setTextAlignment(Qt::AlignLeft);
        pTable->setHorizontalHeaderItem(title.nColumn, pItem); // destroys the one before
    }

    const QString strCtrl = tr("Ctrl");
    const struct {
        QString strCommand;
        QString strMouse;
        QString strCombination;
        QString strKey;
    } aRows[] = {{tr("Nomal/Full Screen"), tr("Double Click LeftKey"), {}, {}},
                 {tr("Play/Pause"), {}, {}, tr("Space")},
                 {tr("Stop"), {}, strCtrl, tr("S")},
                 {tr("Frame Backward"), {}, {}, tr("Left")},
                 {tr("Frame Forward"), {}, {}, tr("Right")},
                 {tr("Volume Increase"), {}, {}, tr("Up")},
                 {tr("Volume Decrease"), {}, {}, tr("Down")},
                 {tr("Go to Start"), {}, strCtrl, tr("Left")},
                 {tr("Go to End"), {}, strCtrl, tr("Right")},
                 {tr("Open File"), {}, strCtrl, tr("O")},
                 {tr("Close File"), {}, strCtrl, tr("C")},
                 {{}, {}, {}, {}},
                 {{}, {}, {}, {}},
                 {{}, {}, {}, {}},
                 {{}, {}, {}, {}}};
    for (int n = 0; n < kRows; ++n) {
        pTable->setVerticalHeaderItem(n, Item(aRows[n].strCommand));
        if (!aRows[n].strMouse.isEmpty()) pTable->setItem(n, kMouse, Item(aRows[n].strMouse));
        if (!aRows[n].strCombination.isEmpty())
            pTable->setItem(n, kCombination, Item(aRows[n].strCombination));
        if (!aRows[n].strKey.isEmpty()) pTable->setItem(n, kKey, Item(aRows[n].strKey));
    }
}

// The page has nothing to read back.
void CPlayerSetting::GetParaFromHotKeySetting() {}

void CPlayerSetting::ShowHotKeyCtrl(bool bShow) {
    ShowAll({m_ctrls.pKey, m_ctrls.pKeyTable}, bShow);
}
