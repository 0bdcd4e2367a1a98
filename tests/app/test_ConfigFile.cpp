// The settings file: its bytes, and what becomes of files that are not of its form.
#include "app/ConfigFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
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
        // A limit on the size of files stands in for a full disk.
        struct rlimit old {};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit tight = old;
        tight.rlim_cur = 100;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &tight), 0);
        QStringList lstValues = kValues;
        lstValues[0] = "/new";
        const bool bWritten = WriteConfigFile(m_strPath, lstValues);
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);

        QVERIFY(!bWritten);
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
