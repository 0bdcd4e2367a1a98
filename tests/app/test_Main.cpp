// The program's own main(), run inside the test, over the recording library: what it has set up once its
// window is there.
#include "app/TalvioDlg.h"
#include "engine/Operate.h"
#include "tests/fakes/DravoFake.h"
#include "tests/support/TemporaryFolder.h"

#include <QApplication>
#include <QDir>
#include <QTest>
#include <QTextCodec>
#include <QTimer>

#include <memory>

int TalvioMain(int nArgs, char** ppArgs);

namespace {

struct Found {
    QTextCodec* pCodec = nullptr;
    QStringList lstFamilies;
    bool bNativeDialogs = true;
    bool bVisible = false;
    Qt::HighDpiScaleFactorRoundingPolicy eRounding = Qt::HighDpiScaleFactorRoundingPolicy::Unset;
};
Found g_found;

// Called as the application object comes to life; it is the event loop that goes on.
void LookAndClose() {
    QTimer::singleShot(0, qApp, [] {
        g_found.pCodec = QTextCodec::codecForLocale();
        g_found.lstFamilies = QApplication::font().families();
        g_found.bNativeDialogs = !QCoreApplication::testAttribute(Qt::AA_DontUseNativeDialogs);
        g_found.eRounding = QGuiApplication::highDpiScaleFactorRoundingPolicy();
        for (QWidget* pWidget : QApplication::topLevelWidgets()) {
            auto* pDlg = qobject_cast<CTalvioDlg*>(pWidget);
            if (pDlg == nullptr) continue;
            g_found.bVisible = pDlg->isVisible();
            pDlg->close();
        }
    });
}
Q_COREAPP_STARTUP_FUNCTION(LookAndClose)

} // namespace

class TestMain : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QDir::setCurrent(QString::fromStdString(m_folder.Path().string()));
        DravoFake::Get().Reset();
        char aName[] = "talvio";
        char* aArgs[] = {aName, nullptr};
        QCOMPARE(TalvioMain(1, aArgs), 0);
        QVERIFY(g_found.bVisible);
    }
    void cleanupTestCase() { QDir::setCurrent("/"); }

    void TextsOfTheSystemAreTakenForSimplifiedChinese() {
        QVERIFY(g_found.pCodec != nullptr);
        QCOMPARE(g_found.pCodec, QTextCodec::codecForName("GB2312"));
        QVERIFY(g_found.pCodec != QTextCodec::codecForName("UTF-8"));
    }
    void HanLettersAreSimplifiedOnes() {
        QCOMPARE(g_found.lstFamilies.value(1), QString("Noto Sans CJK SC"));
    }
    void ChoosersAreTheToolkitsOwn() { QVERIFY(!g_found.bNativeDialogs); }
    void TheScreensScaleIsUsedAsItIs() {
        QCOMPARE(g_found.eRounding, Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    }
    void TheSettingsAreWrittenAtTheEnd() { QVERIFY(QFile::exists("Player.config")); }

  private:
    support::TemporaryFolder m_folder;
};

QTEST_APPLESS_MAIN(TestMain)
#include "test_Main.moc"
