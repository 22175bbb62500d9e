#pragma once

#include "app/MenuModel.h"
#include "widgets/Controls.h"

#include <QWidget>

#include <memory>

class QCheckBox;
class QScrollArea;
class QVBoxLayout;

namespace quillet {

class AlertCard;
class ElapsedTimeView;
class LevelMeter;

/// The content of the popover: what is to be allowed, as long as something is, and else the record control with all
/// that belongs to it. Presents the alerts. It is as large as the popover, 280 by 280 at the normal text size, and
/// scrolls when its content is higher. Owned by the popover for the life of the program; main thread.
class MenuView final : public QWidget {
    Q_OBJECT
public:
    explicit MenuView(std::unique_ptr<MenuModel> model, QWidget* parent = nullptr);
    ~MenuView() override;

    /// An alert is being shown, which waits for an answer.
    [[nodiscard]] bool isPresentingAlert() const;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* recordButton, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    [[nodiscard]] QWidget* makePermissionsSection();
    [[nodiscard]] QWidget* makeRecordSection();
    [[nodiscard]] QWidget* makeLatestBlock();
    void refresh();
    void refreshRecordSection();
    void readAutoCreateNote();
    void lookAgain();
    void presentAlert(const std::optional<AppAlert>& alert);
    void keepMeteringWhileSeen();
    void timerEvent(QTimerEvent* event) override;

    const std::unique_ptr<MenuModel> m_model;
    QScrollArea* m_scroll;

    QWidget* m_permissions;
    QWidget* m_screenCaptureRow = nullptr;
    QWidget* m_microphoneRow = nullptr;

    QWidget* m_record;
    ElapsedTimeView* m_elapsed = nullptr;
    QWidget* m_meters = nullptr;
    LevelMeter* m_systemMeter = nullptr;
    LevelMeter* m_microphoneMeter = nullptr;
    TextLabel* m_error = nullptr;
    QWidget* m_latest = nullptr;
    ElidedLabel* m_latestName = nullptr;
    QPushButton* m_recordButton = nullptr;
    QCheckBox* m_autoCreateNote = nullptr;

    AlertCard* m_alert = nullptr;
    int m_meterTimer = 0;
    bool m_wasLeft = false; ///< another window has had the focus since the content was last looked at
};

/// A title and the button that leads to allowing it.
class PermissionRow final : public QWidget {
    Q_OBJECT
public:
    PermissionRow(const QString& title, std::function<void()> action, QWidget* parent = nullptr);
};

} // namespace quillet
