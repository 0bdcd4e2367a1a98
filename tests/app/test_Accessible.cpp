// What screen readers and other assistive technology are told of the window's buttons and sliders.
#include "tests/app/DlgTest.h"
#include "widgets/ControlsBarWidget.h"
#include "widgets/PlayerTitle.h"
#include "widgets/PlaySlider.h"
#include "widgets/SkinButton.h"
#include "widgets/SoundSlider.h"

#include <QAccessible>
#include <QAction>
#include <QSlider>
#include <QTest>

#include <algorithm>

namespace {

QString Told(QObject* pObject, QAccessible::Text eText = QAccessible::Name) {
    return QAccessible::queryAccessibleInterface(pObject)->text(eText);
}

bool IsChinese(const QString& strText) {
    return std::any_of(strText.begin(), strText.end(), [](QChar c) { return c.unicode() >= 0x4E00; });
}

} // namespace

class CAccessibleTest : public QObject {
    Q_OBJECT

  private slots:
    void init() {
        m_pTest = std::make_unique<CDlgTest>();
        m_pTest->Dlg().show();
    }
    void cleanup() { m_pTest.reset(); }

    void EveryButtonIsAButtonNamedLikeItsToolTip() {
        const QList<CSkinButton*> lstButtons = m_pTest->Dlg().findChildren<CSkinButton*>();
        QCOMPARE(lstButtons.size(), 14 + 5 + 4 + 3); // control bar, playlist, title bar, floating panel
        for (CSkinButton* pButton : lstButtons) {
            QCOMPARE(QAccessible::queryAccessibleInterface(pButton)->role(), QAccessible::Button);
            QVERIFY(!Told(pButton).isEmpty());
            QCOMPARE(Told(pButton), pButton->toolTip());
        }
    }

    void NoTwoButtonsOfABarHaveTheSameName() {
        for (QWidget* pBar : {static_cast<QWidget*>(m_pTest->Find<CControlsBarWidget>()),
                              static_cast<QWidget*>(m_pTest->Find<CPlayerTitle>())}) {
            QStringList lstNames;
            for (CSkinButton* pButton : pBar->findChildren<CSkinButton*>())
                lstNames.append(Told(pButton));
            QCOMPARE(lstNames.removeDuplicates(), 0);
        }
    }

    void BothSlidersAreSlidersAndTellTheirValue() {
        auto* pPosition = m_pTest->Find<CPlaySlider>();
        auto* pVolume = m_pTest->Find<CSoundSlider>();
        for (QSlider* pSlider : {static_cast<QSlider*>(pPosition), static_cast<QSlider*>(pVolume)}) {
            QAccessibleInterface* pTold = QAccessible::queryAccessibleInterface(pSlider);
            QCOMPARE(pTold->role(), QAccessible::Slider);
            QCOMPARE(pTold->valueInterface()->currentValue().toInt(), pSlider->value());
        }
        QCOMPARE(Told(pPosition), QStringLiteral("Play Position"));
        QCOMPARE(Told(pVolume), QStringLiteral("100"));
        QCOMPARE(Told(pVolume, QAccessible::Description), QStringLiteral("Volume"));
        m_pTest->Dlg().SoundDown();
        QCOMPARE(Told(pVolume), pVolume->toolTip());
        QCOMPARE(Told(pVolume), QStringLiteral("90"));
    }

    void TheNamesFollowThePlayState() {
        const auto* pBar = m_pTest->Find<CControlsBarWidget>();
        QCOMPARE(Told(pBar->m_pPlayBtn), QStringLiteral("Play"));
        m_pTest->Play();
        QCOMPARE(Told(pBar->m_pPlayBtn), QStringLiteral("Pause"));
        const auto* pTitle = m_pTest->Find<CPlayerTitle>();
        QCOMPARE(Told(pTitle->m_pMaxBtn), QStringLiteral("Maximize"));
        m_pTest->Find<CPlayerTitle>()->ShowMaxScreen();
        QCOMPARE(Told(pTitle->m_pMaxBtn), QStringLiteral("Restore"));
    }

    void TheNamesFollowTheLanguage() {
        QList<QWidget*> lstNamed;
        for (CSkinButton* pButton : m_pTest->Dlg().findChildren<CSkinButton*>())
            lstNamed.append(pButton);
        lstNamed.append(m_pTest->Find<CPlaySlider>());
        QStringList lstEnglish;
        for (QWidget* pWidget : lstNamed)
            lstEnglish.append(Told(pWidget));

        m_pTest->Action(QStringLiteral("Chinese"))->trigger();
        QCoreApplication::processEvents();
        for (QWidget* pWidget : lstNamed)
            QVERIFY2(IsChinese(Told(pWidget)), qPrintable(Told(pWidget)));
        QVERIFY(IsChinese(Told(m_pTest->Find<CSoundSlider>(), QAccessible::Description)));
        for (CSkinButton* pButton : m_pTest->Dlg().findChildren<CSkinButton*>())
            QCOMPARE(Told(pButton), pButton->toolTip());

        m_pTest->Dlg().SwitchLanguage(m_pTest->Dlg().findChildren<QAction*>().first()); // not Chinese
        QCoreApplication::processEvents();
        for (int i = 0; i < lstNamed.size(); ++i)
            QCOMPARE(Told(lstNamed[i]), lstEnglish[i]);
    }

    void NoButtonAndNoBarSliderTakesTheKeyboard() {
        for (const QWidget* pWidget : m_pTest->Dlg().findChildren<CSkinButton*>())
            QCOMPARE(pWidget->focusPolicy(), Qt::NoFocus);
        QCOMPARE(m_pTest->Find<CPlaySlider>()->focusPolicy(), Qt::NoFocus);
        QCOMPARE(m_pTest->Find<CSoundSlider>()->focusPolicy(), Qt::NoFocus);
    }

  private:
    std::unique_ptr<CDlgTest> m_pTest;
};

QTEST_MAIN(CAccessibleTest)
#include "test_Accessible.moc"
