#include "resources/tools/IconFile.h"

#include <QBuffer>
#include <QDataStream>
#include <QFile>

bool WriteIconFile(const QString& strPath, const QList<QImage>& lstImages) {
    constexpr quint32 nHeaderSize = 6;
    constexpr quint32 nEntrySize = 16;

    QByteArray abImages;
    QByteArray abHeader;
    QDataStream header(&abHeader, QIODevice::WriteOnly);
    header.setByteOrder(QDataStream::LittleEndian);
    header << quint16(0) << quint16(1) << quint16(lstImages.size()); // reserved, the type "icon", count
    const quint32 nFirst = nHeaderSize + nEntrySize * static_cast<quint32>(lstImages.size());
    for (const QImage& image : lstImages) {
        QByteArray abPng;
        QBuffer buffer(&abPng);
        buffer.open(QIODevice::WriteOnly);
        if (image.width() > 256 || image.height() > 256 || !image.save(&buffer, "PNG")) return false;
        // 256 is written as 0; no palette; one plane of 32 bits.
        header << quint8(image.width()) << quint8(image.height()) << quint8(0) << quint8(0) << quint16(1)
               << quint16(32);
        header << quint32(abPng.size()) << nFirst + static_cast<quint32>(abImages.size());
        abImages += abPng;
    }

    QFile file(strPath);
    if (!file.open(QIODevice::WriteOnly)) return false;
    const QByteArray abAll = abHeader + abImages;
    return file.write(abAll) == abAll.size() && file.flush();
}
