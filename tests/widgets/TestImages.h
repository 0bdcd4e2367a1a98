// Images of one colour, in files of the test's own.
#pragma once

#include <QColor>
#include <QImage>
#include <QTemporaryDir>

class CTestImages {
  public:
    // The path of an image of that colour, made when first asked for.
    QString Path(Qt::GlobalColor eColour) { return Path(QColor(eColour)); }
    QString Path(const QColor& colour) {
        const QString strPath = m_dir.filePath(colour.name().mid(1) + ".bmp");
        QImage image(16, 16, QImage::Format_RGB32);
        image.fill(colour);
        image.save(strPath);
        return strPath;
    }

  private:
    QTemporaryDir m_dir;
};
