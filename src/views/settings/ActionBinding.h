#pragma once

#include "models/SeekAction.h"

#include <QUuid>

#include <functional>
#include <optional>

class AppSettings;

// One element of the store's action list, found by its id each time it is read or written, so
// that an edit never lands on another action after the list changed under the view.
class ActionBinding {
public:
    ActionBinding(AppSettings& settings, const QUuid& id);

    const QUuid& id() const { return m_id; }
    // The action as the store holds it now; nothing once it is gone from the list.
    std::optional<SeekAction> action() const;
    // Applies `edit` to the stored action in one assignment of the whole list, which the store
    // saves after its debounce; does nothing once the action is gone or when nothing changed.
    void update(const std::function<void(SeekAction&)>& edit) const;

private:
    AppSettings* m_settings;
    QUuid m_id;
};
