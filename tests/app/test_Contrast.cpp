// Everything that is written can be read, on a light desktop and on a dark one: dialogs, menus, the playlist
// and tool tips, of which some have grounds of their own and some the desktop's.
#include "dialogs/FileInfoDlg.h"
#include "dialogs/HelpDlg.h"
#include "playlist/ListBox.h"
#include "settings/PlayerSettingDlg.h"
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/SkinButton.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHash>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPalette>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QTest>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

// The least contrast that large letters want by the common rule for web pages; none is 1.
constexpr double kLeastContrast = 3.0;

QPalette Desktop(bool bDark) {
    const QColor ground = bDark ? QColor(45, 45, 48) : QColor(240, 240, 240);
    const QColor field = bDark ? QColor(30, 30, 30) : QColor(Qt::white);
    const QColor text = bDark ? QColor(240, 240, 240) : QColor(Qt::black);
    QPalette palette(text, ground, ground.lighter(150), ground.darker(150), ground, text, text, field,
                     ground);
    palette.setColor(QPalette::ToolTipBase, ground);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, QColor(48, 110, 180));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

// Relative luminance by sRGB.
double Luminance(QRgb colour) {
    const auto linear = [](int nValue) {
        const double value = nValue / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

double Contrast(QRgb first, QRgb second) {
    const double lower = std::min(Luminance(first), Luminance(second));
    const double upper = std::max(Luminance(first), Luminance(second));
    return (upper + 0.05) / (lower + 0.05);
}

// How far what is written at `rc` stands out from the colour that most of it has.
double ContrastAt(const QImage& image, const QRect& rc) {
    QHash<QRgb, int> counts;
    const QRect rcInside = rc & image.rect();
    for (int y = rcInside.top(); y <= rcInside.bottom(); ++y) {
        for (int x = rcInside.left(); x <= rcInside.right(); ++x)
            ++counts[image.pixel(x, y)];
    }
    QRgb ground = 0;
    for (auto count = counts.begin(); count != counts.end(); ++count) {
        if (count.value() > counts.value(ground)) ground = count.key();
    }
    double contrast = 1.0;
    for (auto count = counts.begin(); count != counts.end(); ++count)
        contrast = std::max(contrast, Contrast(ground, count.key()));
    return contrast;
}

// Where something is written, by what it says.
using Writing = QList<std::pair<QString, QRect>>;

Writing WritingOf(const QTableWidget& table, const QWidget& dlg) {
    Writing writing;
    const auto add = [&](const QTableWidgetItem* pItem, const QWidget* pOn, const QRect& rc) {
        if (pItem == nullptr || pItem->text().isEmpty()) return;
        const QRect rcSeen = rc & pOn->rect();
        if (rcSeen.width() > 20 && rcSeen.height() > 10)
            writing.append({pItem->text(), QRect(pOn->mapTo(&dlg, rcSeen.topLeft()), rcSeen.size())});
    };
    for (int nRow = 0; nRow < table.rowCount(); ++nRow) {
        const QHeaderView* pRows = table.verticalHeader();
        add(table.verticalHeaderItem(nRow), pRows->viewport(),
            {4, pRows->sectionViewportPosition(nRow) + 3, pRows->width() - 8, pRows->sectionSize(nRow) - 6});
        for (int nColumn = 0; nColumn < table.columnCount(); ++nColumn) {
            const QTableWidgetItem* pItem = table.item(nRow, nColumn);
            if (pItem != nullptr)
                add(pItem, table.viewport(), table.visualItemRect(pItem).adjusted(2, 2, -2, -2));
        }
    }
    for (int nColumn = 0; nColumn < table.columnCount(); ++nColumn) {
        const QHeaderView* pColumns = table.horizontalHeader();
        add(table.horizontalHeaderItem(nColumn), pColumns->viewport(),
            {pColumns->sectionViewportPosition(nColumn) + 4, 4, pColumns->sectionSize(nColumn) - 8,
             pColumns->height() - 8});
    }
    return writing;
}

// All that is to be seen in a dialog. Frames and the marks of boxes and buttons are no writing.
Writing WritingOf(const QWidget& dlg) {
    Writing writing;
    for (const QWidget* pWidget : dlg.findChildren<QWidget*>()) {
        if (!pWidget->isVisibleTo(&dlg)) continue;
        const QRect rc(pWidget->mapTo(&dlg, QPoint()), pWidget->size());
        if (const auto* pLabel = qobject_cast<const QLabel*>(pWidget)) writing.append({pLabel->text(), rc});
        if (const auto* pButton = qobject_cast<const QPushButton*>(pWidget))
            writing.append({pButton->text(), rc.adjusted(4, 4, -4, -4)});
        if (const auto* pLine = qobject_cast<const QLineEdit*>(pWidget))
            writing.append({pLine->text(), rc.adjusted(3, 3, -3, -3)});
        if (const auto* pCombo = qobject_cast<const QComboBox*>(pWidget))
            writing.append({pCombo->currentText(), rc.adjusted(4, 4, -25, -4)});
        if (qobject_cast<const QCheckBox*>(pWidget) != nullptr ||
            qobject_cast<const QRadioButton*>(pWidget) != nullptr)
            writing.append({static_cast<const QAbstractButton*>(pWidget)->text(), rc.adjusted(24, 0, 0, 0)});
        if (const auto* pTable = qobject_cast<const QTableWidget*>(pWidget))
            writing.append(WritingOf(*pTable, dlg));
    }
    writing.removeIf([](const auto& place) { return place.first.isEmpty(); });
    return writing;
}

// What cannot be read of it; and that there is as much as `nLeast`.
QString Unreadable(QWidget& widget, const Writing& writing, int nLeast) {
    QStringList lstUnreadable;
    if (writing.size() < nLeast) lstUnreadable.append(QString("only %1 texts").arg(writing.size()));
    const QImage image = widget.grab().toImage();
    for (const auto& [strText, rc] : writing) {
        const double contrast = ContrastAt(image, rc);
        if (contrast < kLeastContrast) lstUnreadable.append(QString("%1: %2").arg(strText).arg(contrast));
    }
    return lstUnreadable.join("; ");
}

} // namespace

class TestContrast : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        QFETCH_GLOBAL(bool, dark);
        QApplication::setPalette(Desktop(dark));
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->PlayInto(1);
    }
    void cleanup() { m_pTest.reset(); }
    void initTestCase_data() {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    void EveryPageOfTheSettings() {
        CPlayerSetting dlg(&m_pTest->Dlg());
        dlg.show();
        QCOMPARE(Unreadable(dlg, WritingOf(dlg), 27), QString()); // no entry is marked yet
        for (int nPage = 1; nPage <= CPlayerSetting::kPages; ++nPage) {
            dlg.OnClickStaticText(nPage);
            QCOMPARE(Unreadable(dlg, WritingOf(dlg), 17), QString());
        }
    }

    void TheFileInformationAndTheAboutBox() {
        CFileInfoDlg info(&m_pTest->Dlg());
        info.show();
        QCOMPARE(Unreadable(info, WritingOf(info), 13), QString());
        CHelpDlg about(&m_pTest->Dlg());
        about.show();
        QCOMPARE(Unreadable(about, WritingOf(about), 2), QString());
    }

    void EveryMenu() {
        for (QMenu* pMenu : m_pTest->Dlg().findChildren<QMenu*>()) {
            pMenu->popup(QPoint(0, 0));
            Writing writing;
            for (QAction* pAction : pMenu->actions()) {
                if (!pAction->isSeparator() && pAction->isEnabled())
                    writing.append(
                        {pAction->text(), pMenu->actionGeometry(pAction).adjusted(24, 2, -24, -2)});
            }
            QCOMPARE(Unreadable(*pMenu, writing, 1), QString());
            pMenu->hide();
        }
    }

    void ThePlaylist() {
        CListBox& list = *m_pTest->Find<CListBox>();
        m_pTest->Dlg().show();
        list.clear();
        for (const char* pName : {"/rec/one.mp4", "/rec/selected.mp4", "/rec/unplayable.mp4"})
            QVERIFY(m_pTest->Dlg().AddFile2List(pName, pName == QByteArray("/rec/unplayable.mp4")));
        list.setCurrentRow(1);
        list.item(1)->setSelected(true);
        Writing writing;
        for (int nRow = 0; nRow < list.count(); ++nRow) {
            const QRect rc = list.visualItemRect(list.item(nRow)).adjusted(3, 2, -3, -2);
            writing.append(
                {list.item(nRow)->text(), {list.viewport()->mapTo(&list, rc.topLeft()), rc.size()}});
        }
        QCOMPARE(Unreadable(list, writing, 3), QString());
    }

    void ToolTips() {
        for (QWidget* pOf : {static_cast<QWidget*>(m_pTest->Find<CListBox>()->viewport()),
                             static_cast<QWidget*>(m_pTest->Find<CControlsBarWidget>()->m_pPlayBtn)}) {
            m_pTest->Dlg().show();
            QToolTip::showText(pOf->mapToGlobal(QPoint(3, 3)), "tool tip", pOf);
            QWidget* pTip = nullptr;
            for (QWidget* pWidget : QApplication::topLevelWidgets()) {
                if (pWidget->inherits("QTipLabel") && pWidget->isVisible()) pTip = pWidget;
            }
            QVERIFY(pTip != nullptr);
            QCOMPARE(Unreadable(*pTip, {{"tool tip", pTip->rect().adjusted(2, 2, -2, -2)}}, 1), QString());
            QToolTip::hideText();
        }
    }

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

QTEST_MAIN(TestContrast)
#include "test_Contrast.moc"
