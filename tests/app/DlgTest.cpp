#include "tests/app/DlgTest.h"

#include "engine/Operate.h"
#include "playlist/ListBox.h"
#include "widgets/PlayStatusWidget.h"
#include "widgets/StaticTitle.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMenu>

CDlgTest::CDlgTest() : m_strFormerFolder(QDir::currentPath()) {
    QDir::setCurrent(QString::fromStdString(m_folder.Path().string()));
    Fake().Reset();
    m_pDlg = std::make_unique<CTalvioDlg>(nullptr);
}

CDlgTest::~CDlgTest() {
    Close();
    QDir::setCurrent(m_strFormerFolder);
}

void CDlgTest::Close() {
    if (!m_pDlg) return;
    const std::unique_ptr<COperate> pOperate(m_pDlg->GetOperate());
    m_pDlg.reset();
}

void CDlgTest::Play(const QString& strPath) {
    Fake().SetResult("Dravo_GetFileTime", 10);
    Fake().SetResult("Dravo_GetFileTotalFrames", 250);
    if (!m_pDlg->OpenItemFile(strPath)) qFatal("the file was not opened");
    Fake().TakeCalls();
}

void CDlgTest::PlayInto(int nState) {
    Play();
    if (nState == 2) m_pDlg->PlayOrPause();
    if (nState == 3) m_pDlg->Stop();
    if (State() != nState) qFatal("the play state was not reached");
    Fake().TakeCalls();
}

QStringList CDlgTest::Commands() {
    QStringList lstCommands;
    for (const std::string& call : Fake().TakeCalls()) {
        if (!call.starts_with("Dravo_Get")) lstCommands.append(QString::fromStdString(call));
    }
    return lstCommands;
}

QString CDlgTest::File(const QString& strName) const {
    return QString::fromStdString(m_folder.Path().string()) + QLatin1Char('/') + strName;
}

QString CDlgTest::WriteFile(const QString& strName, const QByteArray& content) const {
    QFile file(File(strName));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("the file was not written");
    return file.fileName();
}

QStringList CDlgTest::FilesIn(const QString& strFolder, const QString& strPattern) const {
    return QDir(strFolder).entryList({strPattern}, QDir::Files, QDir::Name);
}

QAction* CDlgTest::Action(const QString& strText) {
    for (QAction* pAction : m_pDlg->findChildren<QAction*>(Qt::FindDirectChildrenOnly)) {
        if (pAction->text() == strText) return pAction;
    }
    qFatal("no such action: %s", qPrintable(strText));
    return nullptr;
}

QList<QMenu*> CDlgTest::Menus() {
    return m_pDlg->findChildren<QMenu*>(Qt::FindDirectChildrenOnly);
}

QString CDlgTest::Entries(const QMenu* pMenu) {
    QStringList lstEntries;
    for (const QAction* pAction : pMenu->actions()) {
        if (pAction->isSeparator()) {
            lstEntries.append(QStringLiteral("-"));
        } else if (pAction->menu() != nullptr) {
            lstEntries.append(QStringLiteral("%1 [%2]").arg(pAction->text(), Entries(pAction->menu())));
        } else {
            lstEntries.append(pAction->text());
        }
    }
    return lstEntries.join(QStringLiteral(", "));
}

QString CDlgTest::LeftText() {
    return Find<CPlayStatusWidget>()->m_pLeftText->GetStaticText();
}

QString CDlgTest::RightText() {
    return Find<CPlayStatusWidget>()->m_pRightText->GetStaticText();
}

QStringList CDlgTest::Playlist() {
    QStringList lstPaths;
    CListBox* pList = Find<CListBox>();
    for (int nRow = 0; nRow < pList->count(); ++nRow)
        lstPaths.append(pList->item(nRow)->statusTip());
    return lstPaths;
}

void CDlgTest::PlayList(const QStringList& lstPaths, const QList<int>& lstMarked, int nRow,
                        const char* pMode) {
    for (int n = 0; n < lstPaths.size(); ++n)
        m_pDlg->AddFile2List(lstPaths[n], lstMarked.contains(n));
    Action(QString::fromLatin1(pMode))->trigger();
    Play(lstPaths.value(nRow, QStringLiteral("/rec/x.mp4")));
    Find<CListBox>()->setCurrentRow(nRow);
    Fake().TakeCalls();
}

QList<int> CDlgTest::MarkedRows() {
    QList<int> lstRows;
    CListBox* pList = Find<CListBox>();
    for (int nRow = 0; nRow < pList->count(); ++nRow) {
        if (pList->item(nRow)->background() == QBrush(Qt::darkRed, Qt::SolidPattern)) lstRows.append(nRow);
    }
    return lstRows;
}

CModalAnswer::CModalAnswer(std::function<void(QDialog*)> answer) : m_answer(std::move(answer)) {
    connect(&m_timer, &QTimer::timeout, this, &CModalAnswer::OnTimer);
    m_timer.start(5);
}

void CModalAnswer::OnTimer() {
    auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (pDialog == nullptr) return;
    ++m_nCount;
    m_answer(pDialog);
}
