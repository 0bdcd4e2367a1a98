#include "app/ConfigFile.h"

#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QSaveFile>
#include <QTextStream>

#include <unistd.h>

namespace {

constexpr auto kRoot = QLatin1String("PlayerSettings");
constexpr int kIndent = 4; // spaces a level

// Three paths of the system's longest kind, every character escaped, stay far below this; so a file that is
// larger is none of ours, and reading it would only hold up the start.
constexpr qint64 kMostBytes = 256 << 10;

// Tags, comments and the like, and the length of one. Ours has 23, of 40 bytes at most.
constexpr qsizetype kMostMarkup = 1000;
constexpr qsizetype kLongestMarkup = 1024;

// Whether the parser is through with the file in no time. What it takes grows with the square of the depth of
// elements and of the number of a tag's attributes, and an entity of a few bytes can stand for megabytes; so
// a small file could hold up the start for minutes. None of ours comes near.
bool IsQuicklyParsed(QByteArray bytes) {
    bytes.replace('\0', QByteArray()); // wider encodings hide their signs among zeros
    qsizetype nMarkup = 0;
    for (qsizetype nFrom = bytes.indexOf('<'); nFrom >= 0; nFrom = bytes.indexOf('<', nFrom + 1)) {
        const qsizetype nLength = bytes.indexOf('>', nFrom) - nFrom;
        if (nLength < 0 || nLength > kLongestMarkup || ++nMarkup > kMostMarkup) return false;
        const QByteArrayView markup = QByteArrayView(bytes).sliced(nFrom, nLength);
        if (markup.startsWith("<!ENTITY") || markup.startsWith("<!ATTLIST")) return false;
    }
    return true;
}

// The children that count: all but text of white space alone.
QList<QDomNode> Children(const QDomElement& root) {
    QList<QDomNode> lstNodes;
    for (QDomNode node = root.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (node.isText() && node.nodeValue().trimmed().isEmpty()) continue;
        lstNodes.append(node);
    }
    return lstNodes;
}

// XML has no way to write control characters and halves of surrogate pairs. A path that holds one loses it,
// which costs that setting; written as it is, it would cost the whole file.
QString Writable(const QString& strText) {
    QString strKept;
    strKept.reserve(strText.size());
    for (qsizetype n = 0; n < strText.size(); ++n) {
        const QChar c = strText[n];
        if (c.isHighSurrogate() && n + 1 < strText.size() && strText[n + 1].isLowSurrogate()) {
            strKept += c;
            strKept += strText[++n];
        } else if (!c.isSurrogate() && c.unicode() < 0xFFFE &&
                   (c.unicode() >= 0x20 || c == QLatin1Char('\t') || c == QLatin1Char('\n') ||
                    c == QLatin1Char('\r'))) {
            strKept += c;
        }
    }
    return strKept;
}

QByteArray Serialised(const QStringList& lstValues) {
    QDomDocument document;
    document.appendChild(document.createProcessingInstruction(
        QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    QDomElement root = document.createElement(kRoot);
    document.appendChild(root);
    const QStringList& lstKeys = ConfigKeys();
    for (qsizetype n = 0; n < lstKeys.size(); ++n) {
        QDomElement element = document.createElement(lstKeys[n]);
        root.appendChild(element);
        element.appendChild(document.createTextNode(Writable(lstValues.value(n))));
    }

    QByteArray bytes;
    QTextStream stream(&bytes);
    stream.setEncoding(QStringConverter::Utf8);
    document.save(stream, kIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return bytes;
}

} // namespace

const QStringList& ConfigKeys() {
    static const QStringList lstKeys = {QStringLiteral("FilePath"),   QStringLiteral("CappicPath"),
                                        QStringLiteral("ConCapPath"), QStringLiteral("HighQuality"),
                                        QStringLiteral("Deflash"),    QStringLiteral("ThrowBNum"),
                                        QStringLiteral("Timer"),      QStringLiteral("DisplayType"),
                                        QStringLiteral("CappicType"), QStringLiteral("ConCapType")};
    return lstKeys;
}

QStringList ReadConfigFile(const QString& strPath) {
    // A pipe or a device of that name would be waited for without end.
    if (strPath.isEmpty() || !QFileInfo(strPath).isFile()) return {};
    QFile file(strPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return {};
    const QByteArray bytes = file.read(kMostBytes + 1);
    QDomDocument document;
    if (bytes.size() > kMostBytes || !IsQuicklyParsed(bytes) || !document.setContent(bytes)) return {};
    const QDomElement root = document.documentElement();
    if (root.tagName() != kRoot) return {};
    const QStringList& lstKeys = ConfigKeys();
    const QList<QDomNode> lstNodes = Children(root);
    if (lstNodes.size() != lstKeys.size()) return {};

    QStringList lstValues;
    for (qsizetype n = 0; n < lstKeys.size(); ++n) {
        const QDomElement element = lstNodes[n].toElement();
        const bool bUsed = !element.isNull() && element.tagName() == lstKeys[n];
        lstValues.append(bUsed ? QStringLiteral("") + element.text() : QString());
    }
    return lstValues;
}

bool WriteConfigFile(const QString& strPath, const QStringList& lstValues) {
    const QByteArray bytes = Serialised(lstValues);
    // Written beside, synced, renamed. Where the folder takes no new file the old one stays, even if it could
    // be written: in place it would be lost when the disk is full.
    QSaveFile file(strPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return false;
    // commit() notices neither that what was kept in memory until then finds no room nor that the disk
    // refuses it.
    if (file.write(bytes) != bytes.size() || !file.flush() || fsync(file.handle()) != 0) file.cancelWriting();
    return file.commit();
}
