#include "tests/app/FilmTest.h"

#include "dravo/include/Dravo.h"
#include "tests/support/BarCode.h"

#include <QAction>
#include <QDir>
#include <QTest>

#include <cstdint>
#include <ctime>
#include <map>
#include <regex>

namespace {

std::string LocalTimeDigits() {
    const std::time_t now = std::time(nullptr);
    std::tm when{};
    localtime_r(&now, &when);
    char aText[32];
    std::strftime(aText, sizeof(aText), "%Y%m%d%H%M%S", &when);
    return aText;
}

} // namespace

CWitness::CWitness(CTalvioDlg* pDlg) : m_pDlg(pDlg) {
    g_pApp = this;
}

CWitness::~CWitness() {
    g_pApp = nullptr;
}

// Of the one file that is open. Ports are numbered on with each file.
int CWitness::NumberOfPicture() {
    for (const int nLast = m_nPort + 16384; m_nPort < nLast; ++m_nPort) {
        long nWidth = 0;
        long nHeight = 0;
        if (Dravo_GetPictureSize(m_nPort, &nWidth, &nHeight) == 0) continue;
        std::vector<std::uint8_t> vecBytes(static_cast<std::size_t>(nWidth * nHeight) * 4 + 4096);
        unsigned long nWritten = 0;
        if (Dravo_GetBMP(m_nPort, vecBytes.data(), vecBytes.size(), &nWritten) == 0) break;
        vecBytes.resize(nWritten);
        return support::ReadBarCodeFromStill(vecBytes);
    }
    return -1;
}

void CWitness::ConCapPic() {
    CShown shown{NumberOfPicture(), m_pDlg->GetOperate()->GetCurrentState(), 0};
    m_pDlg->ConCapPic();
    shown.nStateAfter = m_pDlg->GetOperate()->GetCurrentState();
    const std::lock_guard lock(m_mutex);
    m_vecShown.push_back(shown);
}

std::vector<CShown> CWitness::Shown() const {
    const std::lock_guard lock(m_mutex);
    return m_vecShown;
}

int CWitness::Last() const {
    const std::lock_guard lock(m_mutex);
    return m_vecShown.empty() ? -1 : m_vecShown.back().nNumber;
}

void CWitness::Forget() {
    const std::lock_guard lock(m_mutex);
    m_vecShown.clear();
}

CFilmTest::CFilmTest() : m_strFormerFolder(QDir::currentPath()), m_strStart(LocalTimeDigits()) {
    QDir::setCurrent(QString::fromStdString(m_folder.Path().string()));
    m_pDlg = std::make_unique<CTalvioDlg>(nullptr);
    m_pDlg->Sound();
    m_pDlg->show();
    m_pWitness = std::make_unique<CWitness>(m_pDlg.get());
}

CFilmTest::~CFilmTest() {
    m_pDlg->CloseFile();
    m_pWitness.reset();
    const std::unique_ptr<COperate> pOperate(m_pDlg->GetOperate());
    m_pDlg.reset();
    QDir::setCurrent(m_strFormerFolder);
}

QString CFilmTest::Make(const char* pName, int nFirst, int nFrames, support::ClipOptions options) {
    options.firstNumber = nFirst;
    options.frames = nFrames;
    support::MakeClip(m_folder / pName, options);
    return Path(pName);
}

QAction* CFilmTest::Action(const char* pText) {
    for (QAction* pAction : m_pDlg->findChildren<QAction*>(Qt::FindDirectChildrenOnly)) {
        if (pAction->text() == QLatin1String(pText)) return pAction;
    }
    qFatal("no such action: %s", pText);
    return nullptr;
}

bool CFilmTest::PauseAt(int nFirst) {
    if (!m_pDlg->NextFrame()) return false;
    const int nNumber = nFirst + static_cast<int>(m_pDlg->GetOperate()->GetCurrentFrame());
    return Until([&] { return m_pWitness->Last() == nNumber; });
}

std::vector<std::filesystem::path> CFilmTest::Captures() const {
    static const std::regex form("picture-([0-9]{14})([0-9]{2,})\\.(bmp|jpeg)");
    const std::string strEnd = LocalTimeDigits();
    std::map<int, std::filesystem::path> captures;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
        const std::string strName = entry.path().filename().string();
        if (!strName.starts_with("picture-")) continue;
        std::smatch parts;
        const bool bFormed = std::regex_match(strName, parts, form);
        if (!bFormed || parts[1].str() < m_strStart || parts[1].str() > strEnd ||
            !captures.emplace(std::stoi(parts[2]), entry.path()).second) {
            QTest::qFail(("a wrong name: " + strName).c_str(), __FILE__, __LINE__);
            return {};
        }
    }
    std::vector<std::filesystem::path> vecPaths;
    int nCounter = m_nNextCounter;
    for (const auto& [nFound, path] : captures) {
        if (nFound != nCounter++) {
            QTest::qFail(("out of its order: " + path.string()).c_str(), __FILE__, __LINE__);
            return {};
        }
        vecPaths.push_back(path);
    }
    return vecPaths;
}

std::vector<int> CFilmTest::CapturedNumbers() const {
    std::vector<int> vecNumbers;
    for (const auto& path : Captures())
        vecNumbers.push_back(support::ReadBarCodeFromStillFile(path.string()));
    return vecNumbers;
}

void CFilmTest::RemoveCaptures() {
    for (const auto& path : Captures()) {
        std::filesystem::remove(path);
        ++m_nNextCounter;
    }
}
