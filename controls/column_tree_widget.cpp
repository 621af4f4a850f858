#include "controls/column_tree_widget.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QToolTip>

#include <algorithm>

#include "controls/column_tree_paint.h"
#include "controls/entry_controls_widget.h"

namespace quillon::controls {

namespace {

constexpr int kIndentPixels = 19; // the tree's indent per level
constexpr int kRootLeft = 4;      // roots start a little in from the left edge

QRect ToQRect(const Rect& r) {
    return QRect(r.left, r.top, r.Width(), r.Height());
}

QString ToQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

struct ColumnTreeWidget::Node {
    std::string text;
    bool bold = false;
    bool expanded = false;
    int depth = -1; // the invisible root is -1
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;
    // Where the last paint put the icons, in viewport coordinates, for clicks.
    Rect expandIcon;
    Rect checkIcon;
};

namespace {

MeasuredItem Measured(const ColumnTreeWidget::Node& node) {
    MeasuredItem item{node.text, node.expanded, false, {}};
    if (node.expanded)
        for (const auto& child : node.children)
            item.children.push_back(Measured(*child));
    return item;
}

} // namespace

ColumnTreeWidget::ColumnTreeWidget(QWidget* parent)
    : QAbstractScrollArea(parent), root_(std::make_unique<Node>()) {
    headerModel_ = new QStandardItemModel(0, 2, this);
    headerModel_->setHorizontalHeaderLabels(
        {QStringLiteral("Feature Name"), QStringLiteral("Value")});
    header_ = new QHeaderView(Qt::Horizontal, this);
    header_->setModel(headerModel_);
    header_->setSectionsMovable(false);
    header_->setStretchLastSection(false);
    header_->setSectionResizeMode(QHeaderView::Interactive);
    header_->setMinimumSectionSize(20);
    connect(header_, &QHeaderView::sectionResized, this, [this] {
        UpdateScrollBars();
        viewport()->update();
        emit RowsMoved();
    });
    connect(header_, &QHeaderView::sectionHandleDoubleClicked, this,
            [this](int column) { header_->resizeSection(column, DividerWidth(column)); });
    setFocusPolicy(Qt::StrongFocus);
    horizontalScrollBar()->setSingleStep(kScrollLinePixels);
    verticalScrollBar()->setSingleStep(1);
    setViewportMargins(0, header_->sizeHint().height(), 0, 0);
    SetColumnWidths(200, 200);
}

ColumnTreeWidget::~ColumnTreeWidget() = default;

ColumnTreeWidget::Node* ColumnTreeWidget::NodeOf(TreeItem item) const {
    return item == browser::kTopLevel ? root_.get() : static_cast<Node*>(item);
}

browser::TreeItem ColumnTreeWidget::InsertItem(TreeItem parent, const std::string& text) {
    Node* p = NodeOf(parent);
    auto node = std::make_unique<Node>();
    node->text = text;
    node->parent = p;
    node->depth = p->depth + 1;
    Node* raw = node.get();
    p->children.push_back(std::move(node));
    // A row under a collapsed item is not shown (its parent may gain a +
    // box), and one that lands after every shown row (as rows arrive while a
    // tree is built) moves none: neither walks the shown rows again.
    viewport()->update();
    for (Node* a = p; a != root_.get(); a = a->parent)
        if (!a->expanded) return raw;
    if (shownValid_ && EndsWithin(p)) {
        shown_.push_back(raw);
        UpdateScrollBars();
        return raw;
    }
    Changed();
    return raw;
}

bool ColumnTreeWidget::EndsWithin(const Node* parent) const {
    if (parent == root_.get()) return true;
    for (const Node* n = shown_.empty() ? nullptr : shown_.back(); n; n = n->parent)
        if (n == parent) return true;
    return false;
}

void ColumnTreeWidget::SetItemText(TreeItem item, const std::string& text) {
    if (!item) return;
    NodeOf(item)->text = text;
    viewport()->update();
}

void ColumnTreeWidget::SetItemBold(TreeItem item, bool bold) {
    if (!item) return;
    NodeOf(item)->bold = bold;
    viewport()->update();
}

browser::TreeItem ColumnTreeWidget::GetParentItem(TreeItem item) const {
    if (!item) return browser::kTopLevel;
    Node* p = NodeOf(item)->parent;
    return p == root_.get() ? browser::kTopLevel : p;
}

void ColumnTreeWidget::Expand(TreeItem item) {
    if (item) {
        SetExpanded(item, true);
        return;
    }
    // The top level itself is always shown: its items open.
    for (const auto& child : root_->children)
        child->expanded = true;
    Changed();
}

void ColumnTreeWidget::DeleteAllItems() {
    root_->children.clear();
    const bool hadSelection = selected_ != browser::kTopLevel;
    selected_ = browser::kTopLevel;
    verticalScrollBar()->setValue(0);
    Changed();
    if (hadSelection) emit SelectionChanged();
}

std::string ColumnTreeWidget::ItemText(TreeItem item) const {
    return item ? NodeOf(item)->text : std::string();
}
bool ColumnTreeWidget::IsBold(TreeItem item) const {
    return item && NodeOf(item)->bold;
}
bool ColumnTreeWidget::IsExpanded(TreeItem item) const {
    return item && NodeOf(item)->expanded;
}

void ColumnTreeWidget::SetExpanded(TreeItem item, bool expanded) {
    Node* node = NodeOf(item);
    if (!item || node->expanded == expanded) return;
    node->expanded = expanded;
    // A selection inside a collapsed subtree moves to the collapsed item.
    if (!expanded && selected_) {
        for (Node* p = NodeOf(selected_)->parent; p; p = p->parent)
            if (p == node) {
                SelectItem(item);
                break;
            }
    }
    Changed();
}

std::vector<browser::TreeItem> ColumnTreeWidget::Children(TreeItem parent) const {
    std::vector<TreeItem> out;
    for (const auto& c : NodeOf(parent)->children)
        out.push_back(c.get());
    return out;
}

void ColumnTreeWidget::SelectItem(TreeItem item) {
    if (item == selected_) return;
    selected_ = item;
    // The selected row must be shown: open its ancestors.
    bool opened = false;
    if (item)
        for (Node* p = NodeOf(item)->parent; p && p != root_.get(); p = p->parent)
            if (!p->expanded) p->expanded = opened = true;
    if (opened) Changed();
    if (int row = IndexOf(item); row >= 0) ScrollTo(row);
    viewport()->update();
    emit SelectionChanged();
}

const std::vector<ColumnTreeWidget::Node*>& ColumnTreeWidget::Shown() const {
    if (!shownValid_) {
        shown_.clear();
        std::vector<Node*> stack;
        for (auto it = root_->children.rbegin(); it != root_->children.rend(); ++it)
            stack.push_back(it->get());
        while (!stack.empty()) {
            Node* n = stack.back();
            stack.pop_back();
            shown_.push_back(n);
            if (n->expanded)
                for (auto it = n->children.rbegin(); it != n->children.rend(); ++it)
                    stack.push_back(it->get());
        }
        shownValid_ = true;
    }
    return shown_;
}

void ColumnTreeWidget::Changed() {
    shownValid_ = false;
    UpdateScrollBars();
    viewport()->update();
    emit RowsMoved();
}

int ColumnTreeWidget::RowPixels() const {
    return RowHeight(fontMetrics().height() + 2);
}

int ColumnTreeWidget::IndexOf(TreeItem item) const {
    if (!item) return -1;
    const auto& shown = Shown();
    auto it = std::find(shown.begin(), shown.end(), static_cast<Node*>(item));
    return it == shown.end() ? -1 : static_cast<int>(it - shown.begin());
}

void ColumnTreeWidget::ScrollTo(int row) {
    QScrollBar* v = verticalScrollBar();
    const int page = std::max(1, viewport()->height() / RowPixels());
    if (row < v->value())
        v->setValue(row);
    else if (row >= v->value() + page)
        v->setValue(row - page + 1);
}

ColumnWidths ColumnTreeWidget::Widths() const {
    std::vector<int> sizes;
    for (int i = 0; i < header_->count(); ++i)
        sizes.push_back(header_->sectionSize(i));
    return ReadColumnWidths(sizes);
}

int ColumnTreeWidget::NameColumnWidth() const {
    return header_->sectionSize(0);
}

QRect ColumnTreeWidget::ValueCellRect(TreeItem item) const {
    const QRect row = ItemRect(item);
    if (row.isEmpty()) return {};
    const ColumnWidths widths = Widths();
    if (widths.count < 2) return {};
    const int scrollX = horizontalScrollBar()->value();
    QRect cell(widths.Left(1) - scrollX, row.top(), widths.width[1] - 1, row.height() - 1);
    return cell.intersected(viewport()->rect());
}

int ColumnTreeWidget::DividerWidth(int column) const {
    if (root_->children.empty()) return kDividerPadding;
    const MeasuredItem first = Measured(*root_->children.front());
    const QFontMetrics metrics(font());
    MeasureMetrics m;
    m.indent = kIndentPixels;
    m.linesAtRoot = false;
    return DividerDoubleClickWidth(std::span<const MeasuredItem>(&first, 1), column, m,
                                   [&](std::string_view text) {
                                       return metrics.horizontalAdvance(ToQString(text).trimmed());
                                   });
}

Rect ColumnTreeWidget::LabelRect(const Node& node, int top) const {
    const int scrollX = horizontalScrollBar()->value();
    return Rect{kRootLeft + kIndentPixels * node.depth - scrollX, top, Widths().total - scrollX,
                top + RowPixels()};
}

void ColumnTreeWidget::SetColumnWidths(int name, int value) {
    header_->resizeSection(0, name);
    header_->resizeSection(1, value);
    UpdateScrollBars();
    viewport()->update();
}

void ColumnTreeWidget::UpdateScrollBars() {
    const int rows = static_cast<int>(Shown().size());
    const int page = std::max(1, viewport()->height() / RowPixels());
    verticalScrollBar()->setRange(0, std::max(0, rows - page));
    verticalScrollBar()->setPageStep(page);
    const HScrollBar bar =
        MakeHScrollBar(Widths(), viewport()->width(), horizontalScrollBar()->value());
    horizontalScrollBar()->setRange(bar.min, std::max(bar.min, bar.MaxPosition()));
    horizontalScrollBar()->setPageStep(bar.page);
}

std::vector<browser::TreeItem> ColumnTreeWidget::VisibleItemsFromFirst() const {
    const auto& shown = Shown();
    std::vector<TreeItem> out;
    for (size_t i = static_cast<size_t>(verticalScrollBar()->value()); i < shown.size(); ++i)
        out.push_back(shown[i]);
    return out;
}

browser::TreeItem ColumnTreeWidget::ItemAt(QPoint pos) const {
    if (pos.y() < 0) return browser::kTopLevel;
    const size_t row = static_cast<size_t>(verticalScrollBar()->value() + pos.y() / RowPixels());
    const auto& shown = Shown();
    return row < shown.size() ? shown[row] : browser::kTopLevel;
}

QRect ColumnTreeWidget::ItemRect(TreeItem item) const {
    const int row = IndexOf(item);
    if (row < 0) return {};
    return QRect(0, (row - verticalScrollBar()->value()) * RowPixels(), viewport()->width(),
                 RowPixels());
}

void ColumnTreeWidget::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    const QPalette& pal = palette();
    painter.fillRect(viewport()->rect(), pal.color(QPalette::Base));
    const ColumnWidths widths = Widths();
    const int scrollX = horizontalScrollBar()->value();
    const int rowPixels = RowPixels();
    const auto& shown = Shown();
    QFont normal = font();
    QFont bold = font();
    bold.setBold(true);
    auto colour = [&](TextColour c, bool selected) -> QColor {
        switch (c) {
        case TextColour::WindowText:
            return selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::Text);
        case TextColour::GrayText:
            return selected ? pal.color(QPalette::HighlightedText) : QColor(128, 128, 128);
        case TextColour::Window:
            return pal.color(QPalette::HighlightedText);
        case TextColour::WritableValue:
            return QColor(kWritableValueColour.r, kWritableValueColour.g, kWritableValueColour.b);
        }
        return pal.color(QPalette::Text);
    };

    for (size_t i = static_cast<size_t>(verticalScrollBar()->value()); i < shown.size(); ++i) {
        const int top =
            static_cast<int>(i - static_cast<size_t>(verticalScrollBar()->value())) * rowPixels;
        if (top >= viewport()->height()) break;
        Node* node = shown[i];
        const bool selected = node == selected_;
        RowPaintInput in;
        in.text = node->text;
        in.itemRect = Rect{-scrollX, top, viewport()->width(), top + rowPixels};
        in.textRect = Rect{kRootLeft + kIndentPixels * node->depth - scrollX, top,
                           widths.Right(0) - scrollX, top + rowPixels};
        in.isCategory = !node->children.empty() || node->bold;
        in.expanded = node->expanded;
        in.writable = in.isCategory || (queries_.writable && queries_.writable(node));
        if (!in.isCategory && queries_.boolean) in.booleanValue = queries_.boolean(node);
        if (!in.isCategory && queries_.valueCovered && queries_.valueCovered(node))
            in.coveredCells.set(1);
        in.focused = selected;
        in.clientWidth = viewport()->width();
        in.treeScrollX = scrollX;
        const std::optional<RowPaint> paint = PaintRow(widths, in);
        if (!paint) continue;
        node->expandIcon = paint->expandIcon ? paint->expandIcon->rect : Rect{};
        node->checkIcon = {};

        if (selected) painter.fillRect(ToQRect(in.itemRect), pal.color(QPalette::Highlight));
        if (paint->expandIcon) {
            // A plus or minus box in the icon's square.
            const QRect icon =
                ToQRect(paint->expandIcon->rect)
                    .adjusted(3, 3 - kCategoryIconTop + 1, -4, -4 - kCategoryIconTop + 1);
            painter.setPen(colour(TextColour::GrayText, selected));
            painter.drawRect(icon);
            painter.setPen(colour(TextColour::WindowText, selected));
            const QPoint c = icon.center();
            painter.drawLine(icon.left() + 2, c.y(), icon.right() - 2, c.y());
            if (paint->expandIcon->resource == kIconCollapsed)
                painter.drawLine(c.x(), icon.top() + 2, c.x(), icon.bottom() - 2);
        }
        painter.setFont(paint->name.bold ? bold : normal);
        painter.setPen(colour(paint->name.colour, selected));
        const QRect nameRect = ToQRect(paint->name.rect);
        QString name = ToQString(paint->name.text).trimmed();
        if (paint->name.ellipsis)
            name = painter.fontMetrics().elidedText(name, Qt::ElideRight, nameRect.width());
        painter.drawText(nameRect, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, name);

        painter.setFont(normal);
        for (const ValueCell& cell : paint->values) {
            if (cell.coveredByControl) continue;
            if (cell.check) {
                node->checkIcon = cell.check->rect;
                PaintCheckIcon(painter, QPoint(cell.check->rect.left, cell.check->rect.top),
                               cell.check->resource);
                continue;
            }
            if (!cell.text) continue;
            painter.setPen(colour(cell.colour, selected));
            painter.drawText(ToQRect(cell.rect),
                             Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                             ToQString(*cell.text).trimmed());
        }
        painter.setPen(QColor(220, 220, 220));
        for (int x : paint->gridX)
            painter.drawLine(x, top, x, top + rowPixels - 1);
        painter.drawLine(in.itemRect.left, top + rowPixels - 1, in.itemRect.right,
                         top + rowPixels - 1);
    }
}

void ColumnTreeWidget::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    const QRect vp = viewport()->geometry();
    header_->setGeometry(vp.left(), vp.top() - header_->sizeHint().height(), vp.width(),
                         header_->sizeHint().height());
    const ColumnWidths resized = ResizeLastColumn(Widths(), vp.width(), keepLastWidth_);
    if (resized.count > 0) {
        const int last = resized.count - 1;
        if (header_->sectionSize(last) != resized.width[static_cast<size_t>(last)])
            header_->resizeSection(last, resized.width[static_cast<size_t>(last)]);
    }
    UpdateScrollBars();
    emit RowsMoved();
}

void ColumnTreeWidget::scrollContentsBy(int, int) {
    header_->setOffset(horizontalScrollBar()->value());
    viewport()->update();
    emit RowsMoved();
}

bool ColumnTreeWidget::viewportEvent(QEvent* event) {
    // Scroll bars show or hide with the viewport's size.
    if (event->type() == QEvent::Resize) UpdateScrollBars();
    if (event->type() == QEvent::ToolTip) return ShowToolTip(static_cast<QHelpEvent*>(event));
    return QAbstractScrollArea::viewportEvent(event);
}

void ColumnTreeWidget::mousePressEvent(QMouseEvent* event) {
    HandleClick(event, ClickKind::ButtonDown);
}

void ColumnTreeWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    HandleClick(event, ClickKind::DoubleClick);
}

void ColumnTreeWidget::HandleClick(QMouseEvent* event, ClickKind kind) {
    const QPoint pos = event->position().toPoint();
    TreeItem item = ItemAt(pos);
    const int scrollX = horizontalScrollBar()->value();
    const ColumnWidths widths = Widths();
    ClickInput in;
    in.kind = kind;
    in.point = Point{pos.x(), pos.y()};
    in.onItem = item != browser::kTopLevel;
    Node* node = item ? NodeOf(item) : nullptr;
    if (node) {
        const QRect row = ItemRect(item);
        in.textRect = LabelRect(*node, row.top());
        in.part = pos.x() >= in.textRect.left ? RowPart::LabelOrRight : RowPart::Elsewhere;
        in.field0Width =
            QFontMetrics(font()).horizontalAdvance(ToQString(Field(node->text, 0).value_or("")));
        in.expandIcon = node->expandIcon;
        in.checkIcon = node->checkIcon;
    }
    in.fullRowSelect = true;
    in.column0Width = widths.Right(0) - scrollX;
    in.totalWidth = widths.total - scrollX;
    const ClickDecision d = DecideClick(in);
    if (d.focus) setFocus(Qt::MouseFocusReason);
    if (d.passToTree && node) {
        // The plain tree's own handling: the expand button toggles, a click selects.
        if (!node->children.empty() && pos.x() < in.textRect.left + kCategoryTextOffset)
            SetExpanded(item, !node->expanded);
        SelectItem(item);
    }
    if (d.select) SelectItem(item);
    if (d.toggleExpansion && node && !node->children.empty()) SetExpanded(item, !node->expanded);
    if (d.toggleBoolean) {
        SelectItem(item);
        emit BooleanToggleRequested(item);
    }
}

bool ColumnTreeWidget::ShowToolTip(QHelpEvent* event) {
    const QPoint pos = event->pos();
    TreeItem item = ItemAt(pos);
    ToolTipInput in;
    in.point = Point{pos.x(), pos.y()};
    in.onItem = item != browser::kTopLevel;
    // The name area's tip also tells whether the row has a feature node.
    std::optional<std::string> nameTip;
    if (item) {
        in.textRect = LabelRect(*NodeOf(item), ItemRect(item).top());
        in.item = reinterpret_cast<std::uintptr_t>(item);
        if (queries_.toolTip) nameTip = queries_.toolTip(item, ToolTipArea::Name);
        in.hasNode = nameTip.has_value();
    }
    in.column0Width = Widths().Right(0) - horizontalScrollBar()->value();
    in.clientRight = viewport()->width();
    const std::optional<ToolTipTool> tool = ToolTipAt(in);
    std::optional<std::string> text;
    if (tool) text = tool->area == ToolTipArea::Name ? nameTip : queries_.toolTip(item, tool->area);
    if (!text || text->empty()) {
        QToolTip::hideText();
        event->ignore();
        return true;
    }
    const QRect area(tool->rect.left, tool->rect.top, tool->rect.Width(), tool->rect.Height());
    QToolTip::showText(event->globalPos(), ToQString(*text), viewport(), area);
    return true;
}

void ColumnTreeWidget::keyPressEvent(QKeyEvent* event) {
    const auto& shown = Shown();
    const int row = IndexOf(selected_);
    const int page = std::max(1, viewport()->height() / RowPixels());
    const int last = static_cast<int>(shown.size()) - 1;
    auto go = [&](int to) {
        if (last >= 0) SelectItem(shown[static_cast<size_t>(std::clamp(to, 0, last))]);
    };
    Node* node = selected_ ? NodeOf(selected_) : nullptr;
    switch (event->key()) {
    case Qt::Key_Down:
        go(row + 1);
        break;
    case Qt::Key_Up:
        go(row < 0 ? 0 : row - 1);
        break;
    case Qt::Key_PageDown:
        go(row + page);
        break;
    case Qt::Key_PageUp:
        go(row - page);
        break;
    case Qt::Key_Home:
        go(0);
        break;
    case Qt::Key_End:
        go(last);
        break;
    case Qt::Key_Right:
        if (node && !node->children.empty()) SetExpanded(selected_, true);
        break;
    case Qt::Key_Left:
        if (node && node->expanded)
            SetExpanded(selected_, false);
        else if (node && node->parent != root_.get())
            SelectItem(node->parent);
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
}

} // namespace quillon::controls
