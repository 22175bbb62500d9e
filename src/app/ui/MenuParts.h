#pragma once

#include "app/RecorderUIModel.h"
#include "support/DateTexts.h"

#include <QWidget>

#include <functional>
#include <optional>

class QScrollArea;

namespace quillet {

/// A red dot and the time since the start, anew each second while it is visible. Its digits stand in cells of one
/// width, so that the text does not jitter.
class ElapsedTimeView final : public QWidget {
    Q_OBJECT
public:
    explicit ElapsedTimeView(QWidget* parent = nullptr);

    /// Absent hides it.
    void setStartDate(std::optional<WallTime> startDate);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void setNow(WallTime now);

    std::optional<WallTime> m_startDate;
    QString m_text;
    int m_timer = 0;
};

/// How loud a source is at the moment: a bar from nothing to full scale under the source's name.
class LevelMeter final : public QWidget {
    Q_OBJECT
public:
    explicit LevelMeter(const QString& name, QWidget* parent = nullptr);
    /// From 0 to 1; falls back slowly from a louder value, as meters do.
    void setLevel(double level);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QString m_name;
    double m_shown = 0;
};

/// An alert over the popover's content: title, message and one or two buttons, the first of them the default. Escape
/// and the last button dismiss it. It takes the keyboard while it is there.
class AlertCard final : public QWidget {
    Q_OBJECT
public:
    /// Every answer ends with dismiss, after which the card may be gone.
    struct Actions {
        std::function<void()> dismiss;
        std::function<void()> openSettings; ///< used for a refusal of automation only
    };
    AlertCard(const AppAlert& alert, Actions actions, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeCard();

    const Actions m_actions;
    QScrollArea* m_scroll;
    QWidget* m_card;
    QWidget* m_default;
};

} // namespace quillet
