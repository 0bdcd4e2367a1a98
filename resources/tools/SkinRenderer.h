// Renders the skin's vector sources into opaque images.
#pragma once

#include "resources/tools/SkinList.h"

#include <QByteArray>
#include <QImage>

class CSkinRenderer {
  public:
    // `skin` must outlive the renderer.
    CSkinRenderer(const CSkinList& skin, const QString& strSourceDir)
        : m_skin(skin), m_strSourceDir(strSourceDir) {}

    // The image at its full resolution, without transparency; null, with strError set, when its source cannot
    // be read.
    QImage Render(const SkinImage& image);
    // A square, transparent rendering of a source that names all its colours itself.
    QImage RenderIcon(const QString& strSource, int nSize);
    // The source as a plain SVG file with all colours filled in; empty, with strError set, as above.
    QByteArray Resolve(const QString& strSource, const QString& strCurrent);

    QString strError;

  private:
    const CSkinList& m_skin;
    QString m_strSourceDir;
};
