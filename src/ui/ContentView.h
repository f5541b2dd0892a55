#pragma once

#include "ui/AnimationDialog.h"

#include <QList>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <memory>

class QAction;
class QMenu;
class QMessageBox;
class QVariantAnimation;

namespace velmora {
class PlanetModel;
class PlanetRenderer;
} // namespace velmora

namespace velmora::ui {

class CanvasRegion;
class Header;
class HeaderButton;
class JobPanel;
class LayerLibraryPanel;
class OutputJob;
class ProgressStrip;
class Sidebar;
class SizeSelector;
class Toast;

/// The window's content: it owns the document and lays out the header, the sidebar,
/// the canvas region, the library panel (while shown) and the output bar, and it
/// runs the actions that bring pictures in and send planets out.
class ContentView : public QWidget {
    Q_OBJECT

public:
    static inline const QList<int> outputSizes{2048, 4096, 6144, 8192};
    static constexpr int libraryAnimationMs = 220;
    static constexpr int toastMs = 1800;
    /// A failure stays longer: it has more to say.
    static constexpr int failureToastMs = 6000;

    /// Creates the document, rendered by `renderer`, with the resources folder's
    /// layer library.
    explicit ContentView(const PlanetRenderer& renderer, QWidget* parent = nullptr);
    ~ContentView() override;

    PlanetModel& model() const { return *m_model; }
    Header* header() const { return m_header; }
    Sidebar* sidebar() const { return m_sidebar; }
    CanvasRegion* canvasRegion() const { return m_region; }
    SizeSelector* sizeSelector() const { return m_sizes; }
    /// The library panel while shown (or sliding), else null.
    LayerLibraryPanel* libraryPanel() const { return m_library; }
    bool isLibraryShown() const { return m_showLibrary; }
    Toast* toast() const { return m_toast; }
    bool isToastShown() const { return m_toastShown; }
    QMessageBox* pasteConfirmation() const { return m_pasteConfirm; }
    /// The export or copy under way, if any.
    OutputJob* outputJob() const { return m_output; }
    ProgressStrip* progressStrip() const { return m_progress; }
    HeaderButton* animationButton() const { return m_animationButton; }
    /// The capsule with Cancel while an animation is written.
    JobPanel* jobPanel() const { return m_jobPanel; }

    QAction* undoAction() const { return m_undo; }
    QAction* redoAction() const { return m_redo; }
    QAction* copyAction() const { return m_copy; }
    QAction* pasteAction() const { return m_paste; }
    /// Delete and Backspace remove the selected layer; Escape deselects it.
    QAction* deleteLayerAction() const { return m_deleteLayer; }
    QAction* deselectAction() const { return m_deselect; }

    /// How files are chosen; replaced by tests. Empty strings mean cancelled.
    std::function<QString()> chooseImageFile;
    std::function<QString(const QString& suggestedName)> chooseExportFile;
    /// Where to save the look, and which look to apply; replaced by tests.
    std::function<QString(const QString& suggestedName)> chooseLookToSave;
    std::function<QString()> chooseLookToApply;
    /// The animation's settings (nothing: cancelled), then its file; replaced by tests.
    std::function<std::optional<AnimationChoice>(const AnimationChoice& last)> chooseAnimation;
    std::function<QString(const QString& suggestedName, render::AnimationFormat format)>
        chooseAnimationFile;

    void setHelpMenu(QMenu* menu);

public Q_SLOTS:
    void importPhoto();
    void pasteImage();
    void handleDrop(const QList<QUrl>& urls);
    void exportImage();
    void copyImage();
    void exportAnimation();
    void saveLook();
    void applyLook();
    void toggleLibrary();

private:
    void buildLayout();
    void buildActions();
    void refreshEnabling();
    /// Loads `path`, saying in the toast what failed or what was damaged.
    void openPicture(const QString& path);
    /// Shows `text` in the toast, replacing whatever it showed, for a while.
    void showToast(bool failed, const QString& text);
    void setToastShown(bool shown);
    void placeToast();
    void placeJobPanel();
    QString defaultImageFile();
    QString defaultExportFile(const QString& suggestedName);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<PlanetModel> m_model;
    Header* m_header = nullptr;
    Sidebar* m_sidebar = nullptr;
    CanvasRegion* m_region = nullptr;
    QWidget* m_libraryDrawer = nullptr;
    LayerLibraryPanel* m_library = nullptr;
    QVariantAnimation* m_libraryAnimation = nullptr;
    bool m_showLibrary = false;
    SizeSelector* m_sizes = nullptr;
    Toast* m_toast = nullptr;
    bool m_toastShown = false;
    int m_toastID = 0;
    QMessageBox* m_pasteConfirm = nullptr;
    OutputJob* m_output = nullptr;
    ProgressStrip* m_progress = nullptr;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_copy = nullptr;
    QAction* m_paste = nullptr;
    QAction* m_deleteLayer = nullptr;
    QAction* m_deselect = nullptr;
    QMenu* m_lookMenu = nullptr;
    QString m_lastFolder;
    HeaderButton* m_animationButton = nullptr;
    JobPanel* m_jobPanel = nullptr;
    AnimationChoice m_animationChoice;
};

} // namespace velmora::ui
