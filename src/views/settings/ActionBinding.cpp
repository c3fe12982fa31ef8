#include "views/settings/ActionBinding.h"

#include "settings/AppSettings.h"

#include <algorithm>

ActionBinding::ActionBinding(AppSettings& settings, const QUuid& id)
    : m_settings(&settings)
    , m_id(id) {}

std::optional<SeekAction> ActionBinding::action() const {
    const QList<SeekAction>& actions = m_settings->seekActions();
    const auto found =
        std::find_if(actions.begin(), actions.end(),
                     [this](const SeekAction& action) { return action.id() == m_id; });
    if (found == actions.end()) {
        return std::nullopt;
    }
    return *found;
}

void ActionBinding::update(const std::function<void(SeekAction&)>& edit) const {
    QList<SeekAction> actions = m_settings->seekActions();
    const auto found =
        std::find_if(actions.begin(), actions.end(),
                     [this](const SeekAction& action) { return action.id() == m_id; });
    if (found == actions.end()) {
        return;
    }
    const SeekAction before = *found;
    edit(*found);
    // Every assignment saves and re-registers the hotkeys; a control that repeats the value it
    // shows must not set that off.
    if (!(*found == before)) {
        m_settings->setSeekActions(std::move(actions));
    }
}
