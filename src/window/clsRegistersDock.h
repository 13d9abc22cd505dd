#pragma once

#include <QDockWidget>
#include <functional>
#include <optional>
#include <string>

#include "flows/clsReaderPicture.h"
#include "history/clsIHistory.h"

class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class clsRegisterGrid;
class clsRegisterModel;

/// The reader's registers as they were last seen, and in what they differ from a file, an event of the
/// history or the reading before. Owned by the window, which does what is asked for here. Changes nothing
/// anywhere.
class clsRegistersDock : public QDockWidget {
    Q_OBJECT

  public:
    /// `picture` outlives the dock.
    clsRegistersDock(const clsReaderPicture& picture, QWidget* parent);

    /// What the menu of comparisons lists events of, asked each time. May be empty, or give null.
    std::function<clsIHistory*()> History;
    /// The picture has changed.
    void Update();
    /// Compares with 512 bytes, or with a settings file laid over what was read. False when it is neither.
    bool CompareWith(const QString& name, const std::string& content);
    /// Whether a reader can be asked now.
    void SetDumping(bool possible);
    void FocusGrid();
    /// All that is shown.
    [[nodiscard]] QString Text() const;

  signals:
    void DumpWanted();
    void FileWanted();
    void SaveWanted();
    void GoTo(const SettingItem& item);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    enum class Other { Nothing, Before, Content };

    void MakeContents();
    void MakeCopy();
    QPushButton* MakeButton(const QString& text, const char* name, const QString& tip);
    void FillMenu();
    void AddEvents();
    void Compare(Other other);
    void ShowAll();
    void ShowDetail(int number);
    void Jump();
    [[nodiscard]] std::optional<RegisterImage> OtherImage() const;
    [[nodiscard]] QString Sentence() const;

    const clsReaderPicture& m_picture;
    Other m_other = Other::Nothing;
    QString m_name;         // of the content that is compared with
    std::string m_content;  // 512 bytes, or a settings file
    clsRegisterModel* m_model = nullptr;
    clsRegisterGrid* m_grid = nullptr;
    QLabel* m_sentence = nullptr;
    QLabel* m_detail = nullptr;
    QLineEdit* m_number = nullptr;
    QMenu* m_menu = nullptr;
    QPushButton* m_dump = nullptr;
};
