#include "app/SkinImages.h"

#include "widgets/SkinButton.h"

QString SkinImagePath(const QString& strName) {
    return QStringLiteral(":/Resources/%1.bmp").arg(strName);
}

void SetThreeStateImages(CSkinButton* pButton, const QString& strName) {
    if (pButton == nullptr) return;
    pButton->SetBitMap(SkinImagePath(strName), SkinImagePath(strName + QStringLiteral("-hover")),
                       SkinImagePath(strName + QStringLiteral("-sel")));
}

void SetOneImage(CSkinButton* pButton, const QString& strName) {
    if (pButton == nullptr) return;
    const QString strPath = SkinImagePath(strName);
    pButton->SetBitMap(strPath, strPath, strPath);
}
