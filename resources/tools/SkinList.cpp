#include "resources/tools/SkinList.h"

#include <QFile>
#include <QStringList>

namespace {
// The lines of a text file that are neither empty nor comments, cut into columns, each with its number.
QList<std::pair<int, QStringList>> ReadColumns(const QString& strPath) {
    QList<std::pair<int, QStringList>> lstLines;
    QFile file(strPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return lstLines;
    const QStringList lstText = QString::fromUtf8(file.readAll()).split('\n');
    for (int i = 0; i < lstText.size(); ++i) {
        const QString strLine = lstText[i].simplified();
        if (!strLine.isEmpty() && !strLine.startsWith('#')) lstLines.append({i + 1, strLine.split(' ')});
    }
    return lstLines;
}
} // namespace

bool CSkinList::Fail(const QString& strPath, int nLine, const QString& strWhat) {
    strError = QString("%1:%2: %3").arg(strPath).arg(nLine).arg(strWhat);
    return false;
}

bool CSkinList::ReadPalette(const QString& strPath) {
    for (const auto& [nLine, lstColumns] : ReadColumns(strPath)) {
        if (lstColumns.size() != 2 || !QColor(lstColumns[1]).isValid()) {
            return Fail(strPath, nLine, "want a name and a colour");
        }
        if (m_mapPalette.contains(lstColumns[0])) return Fail(strPath, nLine, "a second colour of that name");
        m_mapPalette.insert(lstColumns[0], lstColumns[1]);
    }
    return !m_mapPalette.isEmpty() || Fail(strPath, 0, "no colours");
}

bool CSkinList::ReadImages(const QString& strPath) {
    for (const auto& [nLine, lstColumns] : ReadColumns(strPath)) {
        if (!AddLine(lstColumns)) return Fail(strPath, nLine, strError);
    }
    return !m_lstImages.isEmpty() || Fail(strPath, 0, "no images");
}

bool CSkinList::AddLine(const QStringList& lstColumns) {
    strError = "want name, source, size, scale, box, ground, colour";
    if (lstColumns.size() != 7) return false;
    const QStringList lstSize = lstColumns[2].split('x');
    const QStringList lstGround = lstColumns[5].split(',');
    if (lstSize.size() != 2) return false;

    SkinImage image;
    image.strName = lstColumns[0];
    image.strSource = lstColumns[1] == "-" ? QString() : lstColumns[1];
    image.szWidget = QSize(lstSize[0].toInt(), lstSize[1].toInt());
    const QStringList lstScale = lstColumns[3].split('+');
    image.nScale = lstScale.first().toInt();
    image.nFine = lstScale.size() > 1 ? lstScale.last().toInt() : 0;
    image.nBox = lstColumns[4].toInt(); // 0 for "full" and "-"
    image.strGround = lstGround.first();
    image.strCurrent = lstColumns[6] == "-" ? QString() : lstColumns[6];
    if (image.szWidget.isEmpty() || image.nScale < 1) return false;

    for (const QString& strColour : lstGround + QStringList(image.strCurrent)) {
        strError = "no such colour: " + strColour;
        if (!strColour.isEmpty() && !m_mapPalette.contains(strColour)) return false;
    }
    if (!image.strName.contains('*')) {
        m_lstImages.append(image);
        return true;
    }

    const QString strName = image.strName;
    const struct {
        const char* pEnd;
        const char* pColour;
        QString strGround;
    } aStates[] = {{"", "glyph", lstGround.first()},
                   {"-hover", "glyph-hover", lstGround.last()},
                   {"-sel", "accent", lstGround.first()}};
    for (const auto& state : aStates) {
        image.strName = QString(strName).replace('*', state.pEnd);
        image.strCurrent = state.pColour;
        image.strGround = state.strGround;
        m_lstImages.append(image);
    }
    return true;
}
