#pragma once

#include "models/MediaApp.h"

#include <QWidget>

#include <vector>

class AppSettings;
class QCheckBox;
class QLabel;
class QVBoxLayout;
class SymbolButton;
class SymbolView;

// The settings tab that orders the media apps and switches them on and off. It keeps no state
// of its own: each row stands for a position in the store's order, and every change of the
// store, from here or elsewhere (an import, a reset), is shown at once.
class AppsSettingsTab : public QWidget {
    Q_OBJECT

public:
    // `naming`: how the rows name the apps.
    AppsSettingsTab(AppSettings& settings, MediaApp::BrowserNaming naming,
                    QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The widgets of the row at one position of the order; what they show follows the store.
    struct Row {
        QWidget* row = nullptr;
        SymbolButton* up = nullptr;
        SymbolButton* down = nullptr;
        QLabel* position = nullptr;
        SymbolView* symbol = nullptr;
        QLabel* name = nullptr;
        QCheckBox* enabled = nullptr;
    };

    Row makeRow(int index);
    // Matches the rows to the store: as many rows as apps in the order, each showing its app.
    void refresh();
    void showRow(Row& row, int index, MediaApp app, int count);
    void paintArrow(SymbolButton& button, bool atEnd);
    // Swaps the apps at `index` and `index + step`, in one assignment of the whole order.
    // Where each row's app is in the settings' list: apps this platform does not offer are
    // kept there, unshown.
    QList<int> shownPositions() const;
    void move(int index, int step);
    void setAppEnabled(int index, bool on);

    AppSettings& m_settings;
    QWidget* m_section = nullptr;
    QVBoxLayout* m_rowsLayout = nullptr;
    QLabel* m_footer = nullptr;
    std::vector<Row> m_rows;
    MediaApp::BrowserNaming m_naming;
};
