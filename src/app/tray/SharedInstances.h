#pragma once

#include "app/NotesServices.h"
#include "platform/ExternalPrograms.h"

#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

namespace quillet {

/// Hands out the factories for everything of which the tray application has one. Nothing is made yet. Once, before
/// the first use.
void installSharedInstances();

/// What the shared instances are made of beside each other.
[[nodiscard]] NotesServices& sharedNotes();
[[nodiscard]] const std::shared_ptr<ExternalPrograms>& sharedExternalPrograms();

/// The contents of the two windows, made anew for each.
/// section: the name of the one to begin with; empty for the first.
[[nodiscard]] QWidget* makeSharedSettingsView(const QString& section, std::function<void()> quit);
[[nodiscard]] QWidget* makeSharedOnboardingView();

} // namespace quillet
