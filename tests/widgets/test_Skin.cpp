// Every image that the program names is carried, in its size and depth.

#include <QDirIterator>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QSet>
#include <QTest>

namespace {
struct Group {
    const char* pNames; // a * stands for the three states
    QSize szWidget;
};

const Group g_aButtons[] = {
    {"play* pause* stop*", {38, 39}},
    {"ToFront* SlowlyForward* FastForward* tolast* FrameBack* NextFrame* back", {24, 22}},
    {"volumeon* volumeoff", {35, 25}},
    {"openfile* openplaylist* tool*", {24, 22}},
    {"en cn-en", {34, 17}},
    {"menu* min* max* max*_zoom close*", {19, 18}},
    {"add* delete* clear* playorder* playlist-close*", {18, 18}},
    {"frame-fullscreen* frame-1x* frame-2x*", {18, 17}},
    {"cappic continuecappic", {16, 16}},
    {"logo", {95, 30}},
};

const Group g_aSliders[] = {
    {"volumebar volumebar-sel", {70, 8}},
    {"thumb thumb-hover thumb-sel", {8, 8}},
    {"controlbar", {1998, 10}},
    {"controlbar-sel", {2034, 10}},
    {"controlthumb controlthumb-hover controlthumb-sel", {13, 10}},
};

const char* const g_pGrounds = "bitmap12 toolbar frame-toolbar status-bar bitmap121 title-up-left "
                               "title-up-mid title-up-right background";

QStringList Names(const char* pNames) {
    QStringList lstNames;
    for (const QString& strName : QString(pNames).split(' ')) {
        if (!strName.contains('*')) {
            lstNames << strName;
            continue;
        }
        for (const char* pState : {"", "-hover", "-sel"}) {
            lstNames << QString(strName).replace('*', pState);
        }
    }
    return lstNames;
}

QString Path(const QString& strName) {
    return ":/Resources/" + strName + ".bmp";
}

int LittleEndian16(const QByteArray& abData, int nAt) {
    return static_cast<unsigned char>(abData[nAt]) | static_cast<unsigned char>(abData[nAt + 1]) << 8;
}
} // namespace

class SkinTest : public QObject {
    Q_OBJECT

  private slots:
    void everyButtonImageIsFourTimesItsWidget() {
        for (const Group& group : g_aButtons) {
            for (const QString& strName : Names(group.pNames)) {
                const QImage image(Path(strName));
                QVERIFY2(!image.isNull(), qPrintable(strName));
                QVERIFY2(image.size() == group.szWidget * 4, qPrintable(strName));
            }
        }
    }

    void everySliderImageHasExactlyItsSize() {
        for (const Group& group : g_aSliders) {
            for (const QString& strName : Names(group.pNames)) {
                const QImage image(Path(strName));
                QVERIFY2(image.size() == group.szWidget, qPrintable(strName));
                // Finer ones for screens of up to 400 %, which style sheets find by their names. The handles
                // are shown at nearly twice their size. The grooves are cut in pixels at every scale.
                if (strName.contains("thumb")) {
                    for (int nScreen = 2; nScreen <= 4; ++nScreen) {
                        const QImage fine(Path(QString("%1@%2x").arg(strName).arg(nScreen)));
                        QVERIFY2(fine.size() == group.szWidget * nScreen * 2, qPrintable(strName));
                    }
                } else {
                    const QImage fine(Path(strName + "@2x"));
                    QVERIFY2(fine.height() == group.szWidget.height() * 2, qPrintable(strName));
                    QVERIFY2(fine.width() >= group.szWidget.width() * 3 / 2, qPrintable(strName));
                }
            }
        }
    }

    void everyGroundIsThereInItsColour() {
        const struct {
            const char* pName;
            const char* pColour;
        } aGrounds[] = {{"bitmap12", "#1B1D20"},     {"toolbar", "#26282C"},   {"frame-toolbar", "#26282C"},
                        {"status-bar", "#1B1D20"},   {"bitmap121", "#141517"}, {"title-up-left", "#26282C"},
                        {"title-up-mid", "#26282C"}, {"background", "#141517"}};
        for (const auto& ground : aGrounds) {
            const QImage image(Path(ground.pName));
            QVERIFY2(!image.isNull(), ground.pName);
            QVERIFY2(image.pixelColor(0, 0) == QColor(ground.pColour), ground.pName);
        }
        // The idle picture shows no edge on its ground.
        const QImage image(Path("background"));
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(image.pixelColor(x, 0), QColor("#141517"));
            QCOMPARE(image.pixelColor(x, image.height() - 1), QColor("#141517"));
        }
        QCOMPARE(image.width() * 228, image.height() * 400);
    }

    void everyBitmapHas24BitsAPixel() {
        QDirIterator it(":/Resources", {"*.bmp"});
        int nFound = 0;
        while (it.hasNext()) {
            QFile file(it.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray abHeader = file.read(30);
            QVERIFY2(abHeader.startsWith("BM"), qPrintable(file.fileName()));
            QVERIFY2(LittleEndian16(abHeader, 28) == 24, qPrintable(file.fileName()));
            ++nFound;
        }
        QVERIFY(nFound > 90);
    }

    void nothingIsCarriedThatNobodyNames() {
        QSet<QString> setNamed;
        for (const Group& group : g_aButtons) {
            for (const QString& strName : Names(group.pNames)) {
                setNamed.insert(strName);
            }
        }
        for (const Group& group : g_aSliders) {
            for (const QString& strName : Names(group.pNames)) {
                setNamed.insert(strName);
                setNamed.insert(strName + "@2x");
                if (!strName.contains("thumb")) continue;
                setNamed.insert(strName + "@3x");
                setNamed.insert(strName + "@4x");
            }
        }
        for (const QString& strName : Names(g_pGrounds)) {
            setNamed.insert(strName);
        }
        QSet<QString> setCarried;
        QDirIterator it(":/Resources", {"*.bmp"});
        while (it.hasNext()) {
            it.next();
            setCarried.insert(it.fileInfo().completeBaseName());
        }
        QCOMPARE(setCarried - setNamed, QSet<QString>());
        QCOMPARE(setNamed - setCarried, QSet<QString>());
    }

    void aButtonsEdgeIsTheColourOfItsStripInEveryState() {
        for (const Group& group : g_aButtons) {
            for (const QString& strName : Names(group.pNames)) {
                const QImage image(Path(strName));
                const QColor edge(strName == "close-hover" ? "#E5484D" : "#26282C");
                for (const QPoint& pos :
                     {QPoint(0, 0), QPoint(image.width() - 1, 0), QPoint(0, image.height() - 1),
                      QPoint(image.width() - 1, image.height() - 1)}) {
                    QVERIFY2(image.pixelColor(pos) == edge, qPrintable(strName));
                }
            }
        }
    }

    void theThreeStatesDifferOnlyInColour() {
        for (const Group& group : g_aButtons) {
            for (const QString& strBase : QString(group.pNames).split(' ')) {
                if (!strBase.contains('*') || strBase == "close*") continue;
                const QImage rest(Path(QString(strBase).replace('*', "")));
                const QImage hover(Path(QString(strBase).replace('*', "-hover")));
                const QImage held(Path(QString(strBase).replace('*', "-sel")));
                QVERIFY2(Brightest(rest) == QColor("#D5D8DD"), qPrintable(strBase));
                QVERIFY2(Brightest(hover) == QColor("#FFFFFF"), qPrintable(strBase));
                QVERIFY2(Brightest(held) == QColor("#3C87FF"), qPrintable(strBase));
                const auto Shape = [](const QImage& image) {
                    QList<bool> lstInk;
                    for (int y = 0; y < image.height(); ++y) {
                        for (int x = 0; x < image.width(); ++x) {
                            lstInk << (image.pixelColor(x, y) != QColor("#26282C"));
                        }
                    }
                    return lstInk;
                };
                QVERIFY2(Shape(rest) == Shape(hover) && Shape(rest) == Shape(held), qPrintable(strBase));
            }
        }
    }

    void noTwoGlyphsAreTheSame() {
        QHash<QByteArray, QString> mapSeen;
        for (const Group& group : g_aButtons) {
            for (const QString& strName : Names(group.pNames)) {
                const QImage image(Path(strName));
                const QByteArray abPixels(reinterpret_cast<const char*>(image.constBits()),
                                          image.sizeInBytes());
                const bool bClose = strName.startsWith("playlist-close"); // on purpose the title bar's cross
                QVERIFY2(bClose || !mapSeen.contains(abPixels),
                         qPrintable(strName + " is " + mapSeen.value(abPixels)));
                mapSeen.insert(abPixels, strName);
            }
        }
    }

    void theMutedSoundIsDrawnInTheColourOfWhatIsOff() {
        QCOMPARE(Brightest(QImage(Path("volumeoff"))), QColor("#7D828A"));
    }

    void theIconHoldsEverySizeTheLargestFirst() {
        QImageReader reader(":/Resources/Talvio.ico");
        QList<int> lstSizes;
        while (lstSizes.size() < reader.imageCount()) {
            const QImage image = reader.read();
            QVERIFY2(!image.isNull(), qPrintable(reader.errorString()));
            QCOMPARE(image.width(), image.height());
            QVERIFY(image.hasAlphaChannel());
            QCOMPARE(image.pixelColor(0, 0).alpha(), 0); // round corners
            QCOMPARE(image.pixelColor(image.width() / 2, image.height() / 10).alpha(), 255);
            lstSizes << image.width();
            if (!reader.jumpToNextImage()) break;
        }
        QCOMPARE(lstSizes, QList<int>({256, 128, 64, 48, 32, 24, 16}));
        QCOMPARE(QIcon(":/Resources/Talvio.ico").availableSizes().size(), 7);
    }

  private:
    // The colour furthest from the ground.
    static QColor Brightest(const QImage& image) {
        QColor colourBest("#26282C");
        int nBest = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor colour = image.pixelColor(x, y);
                const int nDistance =
                    qAbs(colour.red() - 0x26) + qAbs(colour.green() - 0x28) + qAbs(colour.blue() - 0x2C);
                if (nDistance > nBest) {
                    nBest = nDistance;
                    colourBest = colour;
                }
            }
        }
        return colourBest;
    }
};

QTEST_MAIN(SkinTest)
#include "test_Skin.moc"
