#pragma once

#include <QString>
#include <QWidget>

class QTextLayout;

namespace quillet {

/// A path on a rounded ground. It goes over as many lines as it takes, broken anywhere, so that all of it can be read.
class PathBox final : public QWidget {
public:
    explicit PathBox(const QString& name, QWidget* parent = nullptr);
    void setPath(const QString& path);
    [[nodiscard]] const QString& path() const { return m_path; }

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Breaks the lines and returns their height.
    [[nodiscard]] double layOut(QTextLayout& layout, double width) const;

    const QString m_name;
    QString m_path;
};

} // namespace quillet
