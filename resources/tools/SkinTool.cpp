// Renders the skin: talvio_skin_tool SOURCES OUTPUT
//
// Reads palette.txt, images.txt and the SVG files of SOURCES and leaves in OUTPUT one 24-bit BMP file for
// each image (and name@2x to name@4x for finer screens, where images.txt asks for them), the application icon
// as Talvio.ico and talvio.svg, and skin.qrc, which lists what the program carries. Run by the build.

#include "resources/tools/IconFile.h"
#include "resources/tools/SkinRenderer.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTextStream>

namespace {
constexpr int g_anIconSizes[] = {256, 128, 64, 48, 32, 24, 16};

int Complain(const QString& strWhat) {
    QTextStream(stderr) << "talvio_skin_tool: " << strWhat << '\n';
    return 1;
}

QString WriteIcons(CSkinRenderer& renderer, const QDir& dirOut) {
    QList<QImage> lstImages;
    for (const int nSize : g_anIconSizes) {
        QImage image = renderer.RenderIcon("talvio.svg", nSize);
        if (image.isNull()) return renderer.strError;
        lstImages.append(image);
    }
    if (!WriteIconFile(dirOut.filePath("Talvio.ico"), lstImages)) return "cannot write Talvio.ico";

    const QByteArray abSvg = renderer.Resolve("talvio.svg", QString());
    QFile file(dirOut.filePath("talvio.svg"));
    if (!file.open(QIODevice::WriteOnly) || file.write(abSvg) != abSvg.size())
        return "cannot write talvio.svg";
    return {};
}

QString WriteImage(CSkinRenderer& renderer, const SkinImage& image, const QDir& dirOut,
                   QStringList& lstFiles) {
    const QImage picture = renderer.Render(image);
    if (picture.isNull()) return renderer.strError;
    const QString strFile = image.strName + ".bmp";
    if (!picture.save(dirOut.filePath(strFile), "BMP")) return "cannot write " + strFile;
    lstFiles.append(strFile);
    return {};
}

QString WriteImages(CSkinRenderer& renderer, const CSkinList& skin, const QDir& dirOut,
                    QStringList& lstFiles) {
    for (SkinImage image : skin.Images()) {
        QString strError = WriteImage(renderer, image, dirOut, lstFiles);
        const QString strName = image.strName;
        for (int nScreen = 2; image.nFine > 0 && nScreen <= 4 && strError.isEmpty(); ++nScreen) {
            image.strName = QString("%1@%2x").arg(strName).arg(nScreen);
            image.nScale = image.nFine * nScreen;
            strError = WriteImage(renderer, image, dirOut, lstFiles);
        }
        if (!strError.isEmpty()) return strError;
    }
    return {};
}
} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen"); // nothing is shown, and a build machine has no display
    QGuiApplication application(argc, argv);
    if (argc != 3) return Complain("want the folder of sources and the folder to write to");
    const QString strSources = QFile::decodeName(argv[1]);
    const QDir dirOut(QFile::decodeName(argv[2]));
    if (!dirOut.mkpath(".")) return Complain("cannot make " + dirOut.path());

    CSkinList skin;
    if (!skin.ReadPalette(strSources + "/palette.txt") || !skin.ReadImages(strSources + "/images.txt")) {
        return Complain(skin.strError);
    }
    CSkinRenderer renderer(skin, strSources);
    QStringList lstFiles;
    QString strError = WriteImages(renderer, skin, dirOut, lstFiles);
    if (strError.isEmpty()) strError = WriteIcons(renderer, dirOut);
    if (!strError.isEmpty()) return Complain(strError);
    lstFiles.append("Talvio.ico");

    QFile fileList(dirOut.filePath("skin.qrc"));
    if (!fileList.open(QIODevice::WriteOnly)) return Complain("cannot write skin.qrc");
    QTextStream list(&fileList);
    list << "<RCC>\n<qresource prefix=\"/Resources\">\n";
    for (const QString& strFile : std::as_const(lstFiles)) {
        list << "<file>" << strFile << "</file>\n";
    }
    list << "</qresource>\n</RCC>\n";
    return 0;
}
