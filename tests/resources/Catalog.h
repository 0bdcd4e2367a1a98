// Reads the source of a translation catalog.
#pragma once

#include <QDomDocument>
#include <QFile>
#include <QMap>
#include <QString>

// Texts of a catalog's source, by context; those without a translation have a null one.
using Catalog = QMap<QString, QMap<QString, QString>>;

inline Catalog ReadCatalog(const QString& strFile) {
    Catalog catalog;
    QFile file(strFile);
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) return catalog;
    const QDomElement root = document.documentElement();
    for (QDomElement context = root.firstChildElement("context"); !context.isNull();
         context = context.nextSiblingElement("context")) {
        QMap<QString, QString>& texts = catalog[context.firstChildElement("name").text()];
        for (QDomElement message = context.firstChildElement("message"); !message.isNull();
             message = message.nextSiblingElement("message")) {
            const QDomElement translation = message.firstChildElement("translation");
            const bool bNone = translation.attribute("type") == "unfinished";
            texts[message.firstChildElement("source").text()] = bNone ? QString() : translation.text();
        }
    }
    return catalog;
}
