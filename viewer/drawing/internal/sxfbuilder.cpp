#include "viewer/drawing/internal/sxfbuilder.h"

#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing::internal {

QSizeF sxfPaperSize(int size, bool landscape)
{
    static constexpr double sizes[5][2] = { { 1189, 841 }, { 841, 594 }, { 594, 420 }, { 420, 297 }, { 297, 210 } };
    if (size < 0 || size > 4)
        return {};
    return landscape ? QSizeF(sizes[size][0], sizes[size][1]) : QSizeF(sizes[size][1], sizes[size][0]);
}

void countSkipped(Drawing &drawing, const QString &what, int n)
{
    drawing.skipped[what] += n;
}

namespace {

struct Placer {
    Drawing &drawing;
    const QHash<QString, FigureBody> &figures;
    QStringList stack;
    qsizetype visits = 0; // placements walked: bounds empty figures placed over and over
    bool capped = false;

    void place(const FigureBody &body, const QTransform &transform, int depth)
    {
        for (const Element &element : body.elements) {
            if (drawing.elements.size() >= kMaxElements) {
                capped = true;
                return;
            }
            drawing.elements.append(element);
            if (!transform.isIdentity())
                drawing.elements.last().placement = element.placement * transform;
        }
        for (const FigurePlacement &use : body.placements) {
            if (++visits > kMaxElements) {
                capped = true;
                return;
            }
            const auto it = figures.constFind(use.name);
            if (it == figures.constEnd()) {
                countSkipped(drawing, QStringLiteral("sfig_locate_feature (unknown figure)"));
                continue;
            }
            if (stack.contains(use.name) || depth >= kMaxNesting) {
                countSkipped(drawing, QStringLiteral("sfig_locate_feature (cycle)"));
                continue;
            }
            QTransform local;
            local.translate(use.position.x(), use.position.y());
            local.rotate(use.angleDeg);
            local.scale(use.scaleX, use.scaleY);
            if (!it->origin.isNull())
                local = QTransform::fromTranslate(-it->origin.x(), -it->origin.y()) * local;
            if (it->kind == 2)
                local = QTransform(0, 1, 1, 0, 0, 0) * local; // north is x: swap the axes
            stack.append(use.name);
            place(*it, local * transform, depth + 1);
            stack.removeLast();
            if (capped)
                return;
        }
    }
};

} // namespace

void placeFigures(Drawing &drawing, const FigureBody &sheet, const QHash<QString, FigureBody> &figures)
{
    Placer placer { drawing, figures, {} };
    placer.place(sheet, QTransform(), 0);
    if (placer.capped)
        countSkipped(drawing, QStringLiteral("elements beyond the limit"));
}

} // namespace tolvane::viewer::drawing::internal
