// What the skin consists of: its colours and its images, read from the two text files beside the vector
// sources.
#pragma once

#include <QColor>
#include <QHash>
#include <QList>
#include <QSize>
#include <QString>

// One image to render.
struct SkinImage {
    QString strName;    // the file's name without its ending
    QString strSource;  // the SVG file's name; empty for a plain ground
    QSize szWidget;     // size in pixels at 100 %
    int nScale = 1;     // the image is this many times as large
    int nFine = 0;      // those for finer screens are this many times as large for each 100 %; 0: none
    int nBox = 0;       // side of the square that the source fills, centred; 0: the whole image
    QString strGround;  // colour under everything
    QString strCurrent; // colour that the source calls currentColor; may be empty
};

class CSkinList {
  public:
    // Both return false after having put a text that names the line into strError.
    bool ReadPalette(const QString& strPath);
    bool ReadImages(const QString& strPath);

    const QList<SkinImage>& Images() const { return m_lstImages; }
    const QHash<QString, QString>& Palette() const { return m_mapPalette; }
    // The colour of that name; invalid when the palette has none.
    QColor Colour(const QString& strName) const { return QColor(m_mapPalette.value(strName)); }

    QString strError;

  private:
    bool AddLine(const QStringList& lstColumns);
    bool Fail(const QString& strPath, int nLine, const QString& strWhat);

    QHash<QString, QString> m_mapPalette;
    QList<SkinImage> m_lstImages;
};
