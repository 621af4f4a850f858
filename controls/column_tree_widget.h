// The column tree on screen: a header with the "Feature Name" and "Value"
// columns above a tree whose row texts are split at tabs into those columns.
// Geometry and row painting come from column_tree_layout.h and
// column_tree_paint.h; this widget only measures, draws and forwards input.
#pragma once

#include <QAbstractScrollArea>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "browser/feature_row.h"
#include "controls/column_tree_layout.h"

class QHeaderView;
class QStandardItemModel;

namespace quillon::controls {

class ColumnTreeWidget final : public QAbstractScrollArea, public browser::TreeSink {
    Q_OBJECT

public:
    using TreeItem = browser::TreeItem;

    explicit ColumnTreeWidget(QWidget* parent = nullptr);
    ~ColumnTreeWidget() override;

    // browser::TreeSink
    TreeItem InsertItem(TreeItem parent, const std::string& text) override;
    void SetItemText(TreeItem item, const std::string& text) override;
    void SetItemBold(TreeItem item, bool bold) override;
    TreeItem GetParentItem(TreeItem item) const override;
    void Expand(TreeItem item) override;
    void DeleteAllItems() override;

    // Whether an item's value is writable (dark green) or not (grey); asked
    // while painting, so the owner decides from its rows.
    void SetWritableQuery(std::function<bool(TreeItem)> query) { writable_ = std::move(query); }

    std::string ItemText(TreeItem item) const;
    bool IsBold(TreeItem item) const;
    bool IsExpanded(TreeItem item) const;
    void SetExpanded(TreeItem item, bool expanded);
    std::vector<TreeItem> Children(TreeItem parent) const;

    TreeItem SelectedItem() const { return selected_; }
    void SelectItem(TreeItem item);

    // The shown rows from the first one scrolled into view on.
    std::vector<TreeItem> VisibleItemsFromFirst() const;
    // The row under a viewport point, or kTopLevel.
    TreeItem ItemAt(QPoint viewportPos) const;
    QRect ItemRect(TreeItem item) const; // in viewport coordinates; empty when not shown

    int NameColumnWidth() const;
    void SetColumnWidths(int name, int value);
    int RowPixels() const;

signals:
    void SelectionChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;

private:
    struct Node;
    Node* NodeOf(TreeItem item) const;
    const std::vector<Node*>& Shown() const;
    void Changed(); // the shown rows or their texts changed
    void UpdateScrollBars();
    ColumnWidths Widths() const;
    int IndexOf(TreeItem item) const;
    void ScrollTo(int row);

    std::unique_ptr<Node> root_;
    QHeaderView* header_ = nullptr;
    QStandardItemModel* headerModel_ = nullptr;
    TreeItem selected_ = browser::kTopLevel;
    std::function<bool(TreeItem)> writable_;
    mutable std::vector<Node*> shown_;
    mutable bool shownValid_ = false;
};

} // namespace quillon::controls
