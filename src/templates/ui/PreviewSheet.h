#pragma once

#include "widgets/Sheet.h"

#include <QString>

#include <functional>

namespace quillet {

/// Shows a rendered template, to be read and copied. The owner closes it when told that the user is done.
class PreviewSheet final : public Sheet {
    Q_OBJECT
public:
    PreviewSheet(const QString& content, const std::function<void()>& onDismiss, QWidget* parent);

    /// Escape and the window's own close button mean Done.
    void reject() override;

private:
    const QString m_content;
    const std::function<void()> m_onDismiss;
};

} // namespace quillet
