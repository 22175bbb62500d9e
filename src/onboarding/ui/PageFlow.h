#pragma once

#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

#include <functional>

class QStackedLayout;

namespace quillet {

/// Shows one page at a time, each scrolling where it does not fit. A new page comes in from the trailing side while the
/// old one fades, in 0.3 s with a soft start and end; at once for those who want no motion. What is seen meanwhile are
/// pictures: the new page is in its place from the beginning, and the end of the motion only takes the pictures away.
class PageFlow final : public QWidget {
public:
    explicit PageFlow(QWidget* parent = nullptr);

    /// Its accessible name is that of the page.
    void addPage(QWidget* page);
    void showPage(int index);
    [[nodiscard]] int page() const;
    [[nodiscard]] QString pageName() const;
    [[nodiscard]] bool isMoving() const { return m_motion.state() == QAbstractAnimation::Running; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    class Pictures;

    QStackedLayout* m_pages;
    Pictures* m_pictures; ///< over the pages while they move
    QVariantAnimation m_motion;
};

} // namespace quillet
