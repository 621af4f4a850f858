// The column tree on screen: a header with the "Feature Name" and "Value"
// columns above a tree whose row texts are split at tabs into those columns.
// Geometry and row painting come from column_tree_layout.h and
// column_tree_paint.h; this widget only measures, draws and forwards input.
#pragma once

#include <QAbstractScrollArea>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "controls/column_tree_input.h"
#include "controls/column_tree_layout.h"
#include "types/feature_row.h"

class QHeaderView;
class QHelpEvent;
class QStandardItemModel;

namespace quillon::controls {

class ColumnTreeWidget final : public QAbstractScrollArea, public browser::TreeSink {
    Q_OBJECT

public:
    using TreeItem = browser::TreeItem;
    struct Node; // one tree item

    explicit ColumnTreeWidget(QWidget* parent = nullptr);
    ~ColumnTreeWidget() override;

    // browser::TreeSink
    TreeItem InsertItem(TreeItem parent, const std::string& text) override;
    void SetItemText(TreeItem item, const std::string& text) override;
    void SetItemBold(TreeItem item, bool bold) override;
    TreeItem GetParentItem(TreeItem item) const override;
    void Expand(TreeItem item) override;
    void DeleteAllItems() override;

    // What the owner knows of its rows, asked while painting and on mouse
    // events; unset queries answer false / nothing.
    struct RowQueries {
        // The feature is writable: dark green value, black name; else grey.
        std::function<bool(TreeItem)> writable;
        // A boolean feature's value: a check icon instead of text.
        std::function<std::optional<bool>(TreeItem)> boolean;
        // One of the owner's in-place controls covers the row's value cell.
        std::function<bool(TreeItem)> valueCovered;
        // The tip of a row's area; nothing when the row has no feature node.
        std::function<std::optional<std::string>(TreeItem, ToolTipArea)> toolTip;
    };
    void SetRowQueries(RowQueries queries) { queries_ = std::move(queries); }
    // When set, resizing does not stretch the last column.
    void SetKeepLastWidth(bool keep) { keepLastWidth_ = keep; }

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
    // The row's value cell (column 1) in viewport coordinates, clipped to the
    // viewport; empty when the row is not shown.
    QRect ValueCellRect(TreeItem item) const;
    // The width a double-click on column `column`'s divider gives it.
    int DividerWidth(int column) const;

signals:
    void SelectionChanged();
    // A click on a boolean's check icon.
    void BooleanToggleRequested(TreeItem item);
    // Rows moved on screen (scrolling, resizing, expanding): in-place
    // controls must be placed again.
    void RowsMoved();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;

    void HandleClick(QMouseEvent* event, ClickKind kind);
    bool ShowToolTip(QHelpEvent* event);
    Rect LabelRect(const Node& node, int top) const; // label left .. end of the columns

private:
    Node* NodeOf(TreeItem item) const;
    const std::vector<Node*>& Shown() const;
    // The last shown row is `parent` or lies below it (a new last child of
    // `parent` then comes last among the shown rows).
    bool EndsWithin(const Node* parent) const;
    void Changed(); // the shown rows or their texts changed
    void UpdateScrollBars();
    ColumnWidths Widths() const;
    int IndexOf(TreeItem item) const;
    void ScrollTo(int row);

    std::unique_ptr<Node> root_;
    QHeaderView* header_ = nullptr;
    QStandardItemModel* headerModel_ = nullptr;
    TreeItem selected_ = browser::kTopLevel;
    RowQueries queries_;
    bool keepLastWidth_ = false;
    mutable std::vector<Node*> shown_;
    mutable bool shownValid_ = false;
};

} // namespace quillon::controls
