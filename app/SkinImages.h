// The names of the skin's images.
#pragma once

#include <QString>

class CSkinButton;

// The resource path of an image: ":/Resources/" and the name with ".bmp".
QString SkinImagePath(const QString& strName);

// Gives a button its three images: the name alone, with "-hover" and with "-sel". Nothing for a null button.
void SetThreeStateImages(CSkinButton* pButton, const QString& strName);

// Gives a button one image for all three states. Nothing for a null button.
void SetOneImage(CSkinButton* pButton, const QString& strName);
