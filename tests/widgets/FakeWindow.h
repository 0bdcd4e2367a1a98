// A main window that writes down what the widgets ask of it.
#pragma once

#include "widgets/WindowCommands.h"

#include <QDropEvent>
#include <QMimeData>
#include <QPoint>
#include <QStringList>
#include <QWidget>

#include <utility>

class CFakeWindow : public QWidget, public CWindowCommands {
  public:
    using QWidget::QWidget;

    bool PlayOrPause() override { return Note("PlayOrPause"); }
    bool Stop() override { return Note("Stop"); }
    bool Start() override { return Note("Start"); }
    bool End() override { return Note("End"); }
    bool Fast() override { return Note("Fast"); }
    bool Slow() override { return Note("Slow"); }
    bool NextFrame() override { return Note("NextFrame"); }
    bool LastFrame() override { return Note("LastFrame"); }
    bool Back() override { return Note("Back"); }
    bool Sound() override {
        m_bSound = !m_bSound;
        return Note("Sound");
    }
    bool OpenFile() override { return Note("OpenFile"); }
    bool ChangeLanguage() override { return Note("ChangeLanguage"); }
    bool ShowToolBoxMenu() override { return Note("ShowToolBoxMenu"); }
    bool IsViewPlaylist() override { return Note("IsViewPlaylist"); }
    bool SetPlaySlider(int nValue) override { return Note(QString("SetPlaySlider %1").arg(nValue)); }
    bool SetVolumeSlider(int nValue) override { return Note(QString("SetVolumeSlider %1").arg(nValue)); }
    bool GetSoundStatus() const override { return m_bSound; }
    bool ShowTopMenu(const QPoint& pos) override {
        return Note(QString("ShowTopMenu %1 %2").arg(pos.x()).arg(pos.y()));
    }
    void SetMaxScreen(bool bMax) override { Note(bMax ? "SetMaxScreen true" : "SetMaxScreen false"); }
    bool Exit() override { return Note("Exit"); }
    bool FullScreen() override { return Note("FullScreen"); }
    bool GetFullScreenStatus() const override { return m_bFullScreen; }
    bool showContextMenu(const QPoint& pos) override {
        return Note(QString("showContextMenu %1 %2").arg(pos.x()).arg(pos.y()));
    }
    void HandleDrop(QDropEvent* pEvent) override { Note("HandleDrop " + pEvent->mimeData()->text()); }
    QWidget* GetFloatDlg() const override { return m_pFloat; }
    QWidget* GetControlsBar() const override { return m_pBar; }
    QWidget* GetSplitter() const override { return m_pSplitter; }

    // What was asked since the last time.
    QStringList Taken() { return std::exchange(m_lstCalls, {}); }

    bool m_bSound = true;
    bool m_bFullScreen = false;
    QWidget* m_pFloat = nullptr;
    QWidget* m_pBar = nullptr;
    QWidget* m_pSplitter = nullptr;

  private:
    bool Note(const QString& strCall) {
        m_lstCalls.append(strCall);
        return true;
    }

    QStringList m_lstCalls;
};
