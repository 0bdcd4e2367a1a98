// The settings file. The input is its bytes; what was read is written and read again.
#include "app/ConfigFile.h"
#include "fuzz/FuzzInput.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/settings"));
    const fuzz::MemoryFile memory({data, size});
    const QStringList lstValues = ReadConfigFile(QString::fromStdString(memory.Path()));
    if (lstValues.isEmpty()) return 0;
    fuzz::Require(lstValues.size() == ConfigKeys().size(), "every setting or none");
    const QString strPath = folder.filePath(QStringLiteral("settings.xml"));
    fuzz::Require(WriteConfigFile(strPath, lstValues), "what was read can be written");
    const QStringList lstAgain = ReadConfigFile(strPath);
    fuzz::Require(lstAgain.size() == lstValues.size(), "what was written can be read");
    fuzz::Require(WriteConfigFile(strPath, lstAgain), "and written again");
    fuzz::Require(ReadConfigFile(strPath) == lstAgain, "and stays as it is");
    return 0;
}
