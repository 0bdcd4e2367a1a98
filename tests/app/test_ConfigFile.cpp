// The settings file: its bytes, and what becomes of files that are not of its form.
#include "app/ConfigFile.h"
#include "tests/support/FileSizeLimit.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <sys/stat.h>

namespace {

const QByteArray kFile = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<PlayerSettings>\n"
                         "    <FilePath>/films</FilePath>\n"
                         "    <CappicPath>/pictures</CappicPath>\n"
                         "    <ConCapPath>/series</ConCapPath>\n"
                         "    <HighQuality>1</HighQuality>\n"
                         "    <Deflash>0</Deflash>\n"
                         "    <ThrowBNum>2</ThrowBNum>\n"
                         "    <Timer>1</Timer>\n"
                         "    <DisplayType>2</DisplayType>\n"
                         "    <CappicType>-1</CappicType>\n"
                         "    <ConCapType>1</ConCapType>\n"
                         "</PlayerSettings>\n";

const QStringList kValues = {"/films", "/pictures", "/series", "1", "0", "2", "1", "2", "-1", "1"};

void WriteBytes(const QString& strPath, const QByteArray& bytes) {
    QFile file(strPath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

QByteArray ReadBytes(const QString& strPath) {
    QFile file(strPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray BillionLaughs() {
    QByteArray bytes = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY a0 \"lol\">\n";
    for (int n = 1; n < 10; ++n) {
        const QByteArray strBelow = "&a" + QByteArray::number(n - 1) + ";";
        bytes += "<!ENTITY a" + QByteArray::number(n) + " \"" + strBelow.repeated(10) + "\">\n";
    }
    return bytes + "]>\n" + QByteArray(kFile.mid(kFile.indexOf('\n') + 1)).replace("/films", "&a9;");
}

// `bytes`, with what `text` gives for 0, 1, 2... until it is as long as the longest that is read.
template <typename Text>
QByteArray Grown(QByteArray bytes, Text&& text) {
    for (int n = 0; bytes.size() < 250'000; ++n)
        bytes += text(QByteArray::number(n));
    return bytes;
}

QByteArray Utf16(const QByteArray& bytes) {
    QByteArray wide;
    for (const char c : bytes)
        wide.append(c).append('\0');
    return "\xff\xfe" + wide;
}

} // namespace

class TestConfigFile : public QObject {
    Q_OBJECT

  private:
    QTemporaryDir m_folder;
    QString m_strPath;

  private slots:
    void init() {
        m_strPath = m_folder.filePath("Player.config");
        QFile::remove(m_strPath);
        QDir(m_strPath).removeRecursively();
    }

    void IsWrittenByteForByte() {
        QVERIFY(WriteConfigFile(m_strPath, kValues));
        QCOMPARE(ReadBytes(m_strPath), kFile);
    }

    void AnEmptyTextIsAnEmptyElement() {
        QStringList lstValues = kValues;
        lstValues[0] = QString();
        QVERIFY(WriteConfigFile(m_strPath, lstValues));
        QCOMPARE(ReadBytes(m_strPath), QByteArray(kFile).replace("/films", ""));
        QCOMPARE(ReadConfigFile(m_strPath).value(0), QString(""));
        QVERIFY(!ReadConfigFile(m_strPath).value(0).isNull());
    }

    void IsReadBack() {
        WriteBytes(m_strPath, kFile);
        QCOMPARE(ReadConfigFile(m_strPath), kValues);
    }

    void WhiteSpaceBetweenElementsIsNoSetting() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("\n    <", "\r\n\t\n<"));
        QCOMPARE(ReadConfigFile(m_strPath), kValues);
    }

    void PathsSurvive_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("written");
        QTest::newRow("markup") << "/a & b/<c>/\"d'" << QByteArray("/a &amp; b/&lt;c>/\"d'");
        QTest::newRow("Chinese") << QString::fromUtf8("/影片 1") << QByteArray("/影片 1");
        QTest::newRow("beyond the first plane") << QString::fromUtf8("/🎬") << QByteArray("/🎬");
        QTest::newRow("percent") << "/100%25" << QByteArray("/100%25");
        QTest::newRow("line feed") << "/a\nb" << QByteArray("/a\nb");
        QTest::newRow("carriage return") << "/a\rb" << QByteArray("/a&#xd;b");
        QTest::newRow("tabulator") << "/a\tb" << QByteArray("/a\tb");
        QTest::newRow("end of character data") << "/a]]>b" << QByteArray("/a]]&gt;b");
        QTest::newRow("entity") << "/&amp;" << QByteArray("/&amp;amp;");
        QTest::newRow("long") << "/" + QString(5000, 'x') << "/" + QByteArray(5000, 'x');
    }
    void PathsSurvive() {
        QFETCH(QString, path);
        QFETCH(QByteArray, written);
        QStringList lstValues = kValues;
        lstValues[0] = path;
        QVERIFY(WriteConfigFile(m_strPath, lstValues));
        const QByteArray bytes = ReadBytes(m_strPath);
        QVERIFY2(bytes.contains("<FilePath>" + written + "</FilePath>"), bytes);
        QCOMPARE(ReadConfigFile(m_strPath), lstValues);
    }

    void ACharacterThatXmlCannotHoldCostsOnlyItself() {
        QStringList lstValues = kValues;
        lstValues[1] = QString("/a") + QChar(1) + QChar(0xD800) + QChar(0xFFFF) + "b";
        QVERIFY(WriteConfigFile(m_strPath, lstValues));
        lstValues[1] = "/ab";
        QCOMPARE(ReadConfigFile(m_strPath), lstValues);
    }

    void SwappedElementsLoseOnlyThemselves() {
        QByteArray bytes = kFile;
        bytes.replace("<HighQuality>1</HighQuality>", "@")
            .replace("<Deflash>0</Deflash>", "<HighQuality>1</HighQuality>");
        bytes.replace("@", "<Deflash>0</Deflash>");
        WriteBytes(m_strPath, bytes);
        QStringList lstExpected = kValues;
        lstExpected[3] = QString();
        lstExpected[4] = QString();
        const QStringList lstRead = ReadConfigFile(m_strPath);
        QCOMPARE(lstRead, lstExpected);
        QVERIFY(lstRead[3].isNull() && lstRead[4].isNull());
    }

    void AMisspeltElementLosesOnlyItself() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("Timer>", "timer>"));
        const QStringList lstRead = ReadConfigFile(m_strPath);
        QCOMPARE(lstRead.size(), 10);
        QVERIFY(lstRead[6].isNull());
        QCOMPARE(lstRead[7], QString("2"));
    }

    void TextIsTakenFromEverythingInsideAnElement() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("/films", "/f<b>il</b><![CDATA[<m>]]>s"));
        QCOMPARE(ReadConfigFile(m_strPath).value(0), QString("/fil<m>s"));
    }

    void BytesOfAnotherEncodingCostOnlyTheirOwnText() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("/films", "/\xd3\xb0\xc6\xac"));
        const QStringList lstRead = ReadConfigFile(m_strPath);
        QCOMPARE(lstRead.mid(1), kValues.mid(1));
    }

    void AFileInUtf16IsReadByItsMark() {
        WriteBytes(m_strPath, Utf16(QByteArray(kFile).replace(" encoding=\"UTF-8\"", "")));
        QCOMPARE(ReadConfigFile(m_strPath), kValues);
    }

    void WhatStandsOutsideTheRootDoesNotCount() {
        const QByteArray root = kFile.mid(kFile.indexOf('\n') + 1);
        WriteBytes(m_strPath, "<?xml version=\"1.0\"?>\n<!-- by hand -->\n<!DOCTYPE PlayerSettings>\n" +
                                  root + "<!-- end --><?i j?>\n");
        QCOMPARE(ReadConfigFile(m_strPath), kValues);
    }

    void APrefixThatNothingBindsIsPartOfTheName() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("/films", "/f<a:b c:d=\"\">il</a:b>ms"));
        QStringList lstExpected = kValues;
        lstExpected[0] = "/films";
        QCOMPARE(ReadConfigFile(m_strPath), lstExpected);
    }

    void ADeclaredEncodingIsFollowed() {
        WriteBytes(m_strPath,
                   QByteArray(kFile).replace("UTF-8", "ISO-8859-1").replace("/films", "/f\xefl\xe9"));
        QStringList lstExpected = kValues;
        lstExpected[0] = QString::fromUtf8("/fïlé");
        QCOMPARE(ReadConfigFile(m_strPath), lstExpected);
    }

    void AttributesAreIgnored() {
        WriteBytes(m_strPath, QByteArray(kFile).replace("<Timer>", "<Timer unit=\"ms\">"));
        QCOMPARE(ReadConfigFile(m_strPath), kValues);
    }

    void AllElementsInTheWrongOrderLeaveAllSettings() {
        QList<QByteArray> lstLines = kFile.split('\n');
        std::reverse(lstLines.begin() + 2, lstLines.begin() + 12);
        WriteBytes(m_strPath, lstLines.join('\n'));
        const QStringList lstRead = ReadConfigFile(m_strPath);
        QCOMPARE(lstRead.size(), 10);
        for (const QString& strText : lstRead)
            QVERIFY(strText.isNull());
    }

    void AnUnusableFileGivesNothing_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("another root") << QByteArray(kFile).replace("PlayerSettings", "Playersettings");
        QTest::newRow("eleven elements")
            << QByteArray(kFile).replace("</PlayerSettings>", "<More>1</More></PlayerSettings>");
        QTest::newRow("nine elements") << QByteArray(kFile).replace("    <ConCapType>1</ConCapType>\n", "");
        QTest::newRow("a comment inside") << QByteArray(kFile).replace("    <Timer>", "<!-- c --><Timer>");
        QTest::newRow("text inside") << QByteArray(kFile).replace("    <Timer>", "text<Timer>");
        QTest::newRow("an instruction inside") << QByteArray(kFile).replace("    <Timer>", "<?i j?><Timer>");
        QTest::newRow("cut off") << kFile.left(200);
        QTest::newRow("not XML") << QByteArray("HighQuality=1\n");
        QTest::newRow("entities in entities") << BillionLaughs();
        // Well-formed, and all ten are there; but they hold the parser up for minutes.
        QTest::newRow("elements nested deeply") << QByteArray(kFile).replace(
            "/films", QByteArray("<a>").repeated(35'000) + QByteArray("</a>").repeated(35'000));
        QTest::newRow("a tag of many attributes") << QByteArray(kFile).replace(
            "<PlayerSettings>",
            Grown("<PlayerSettings", [](const QByteArray& n) { return " a" + n + "=\"\""; }) + ">");
        QTest::newRow("an entity over and over")
            << "<!DOCTYPE P [<!ENTITY e \"" + QByteArray(900, 'x') + "\">]>" +
                   kFile.mid(kFile.indexOf('\n') + 1).replace("/films", QByteArray("&e;").repeated(50'000));
        QTest::newRow("attributes given by the document type")
            << "<!DOCTYPE P [<!ATTLIST Timer unit CDATA \"ms\">]>" + kFile.mid(kFile.indexOf('\n') + 1);
        QTest::newRow("the same in UTF-16") << Utf16(BillionLaughs());
        QTest::newRow("in UTF-16, cut in a letter") << Utf16(kFile).chopped(1);
        QTest::newRow("with a zero inside") << QByteArray(kFile).insert(kFile.size() / 2, '\0');
        QTest::newRow("larger than any of ours")
            << QByteArray(kFile).replace("<PlayerSettings>", "<PlayerSettings>" + QByteArray(2 << 20, ' '));
    }
    void AnUnusableFileGivesNothing() {
        QFETCH(QByteArray, bytes);
        WriteBytes(m_strPath, bytes);
        QCOMPARE(ReadConfigFile(m_strPath), QStringList());
    }

    void AHugeFileOfZerosIsNotReadThrough() {
        QFile file(m_strPath);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(qint64(1) << 30)); // takes no room on the disk
        file.close();
        QCOMPARE(ReadConfigFile(m_strPath), QStringList());
    }

    void WhatIsNoFileIsNotRead() {
        QCOMPARE(ReadConfigFile(m_strPath), QStringList());
        QCOMPARE(ReadConfigFile(QString()), QStringList());
        QVERIFY(QDir().mkpath(m_strPath));
        QCOMPARE(ReadConfigFile(m_strPath), QStringList());
        QVERIFY(QDir().rmdir(m_strPath));
        // Opening a pipe that nobody writes to would wait without end.
        QCOMPARE(mkfifo(QFile::encodeName(m_strPath).constData(), 0600), 0);
        QCOMPARE(ReadConfigFile(m_strPath), QStringList());
    }

    void AWriteThatFailsLeavesTheOldFile() {
        WriteBytes(m_strPath, kFile);
        QStringList lstValues = kValues;
        lstValues[0] = "/new";
        {
            const support::FileSizeLimit limit(100);
            QVERIFY(!WriteConfigFile(m_strPath, lstValues));
        }
        QCOMPARE(ReadBytes(m_strPath), kFile);
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), QStringList("Player.config"));
    }

    void WritingWhereNothingCanBeWrittenFails() {
        QVERIFY(!WriteConfigFile(m_folder.filePath("missing/Player.config"), kValues));
        QVERIFY(QDir().mkpath(m_strPath));
        QVERIFY(!WriteConfigFile(m_strPath, kValues));
        QVERIFY(QDir(m_strPath).exists());
    }

    void WritingReplacesALongerFile() {
        WriteBytes(m_strPath, QByteArray(10000, 'x'));
        QVERIFY(WriteConfigFile(m_strPath, kValues));
        QCOMPARE(ReadBytes(m_strPath), kFile);
    }

    void ALinkedFileStaysLinked() {
        const QString strTarget = m_folder.filePath("target.config");
        QVERIFY(QFile::link(strTarget, m_strPath));
        QVERIFY(WriteConfigFile(m_strPath, kValues));
        QCOMPARE(ReadBytes(strTarget), kFile);
        QVERIFY(QFile::symLinkTarget(m_strPath) == strTarget);
        QFile::remove(strTarget);
    }
};

QTEST_GUILESS_MAIN(TestConfigFile)
#include "test_ConfigFile.moc"
