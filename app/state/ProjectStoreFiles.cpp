// The project store's panels: opening a folder, loading a baseline, exporting, drops.
#include <QMimeData>
#include <QSaveFile>
#include <QUrl>

#include "app/state/ProjectStore.h"
#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "imageexport/GraphExport.h"

namespace vantrel {

void ProjectStore::chooseProjectFolder() {
    OpenPanelRequest panel{QStringLiteral("Select a project folder"), QStringLiteral("Select"), true, {}};
    environment_.platform->showOpenPanel(panel, [this](const QString& path) { scan(path); });
}

void ProjectStore::chooseBaselineSnapshot() {
    OpenPanelRequest panel{QStringLiteral("Select baseline snapshot (ProjectIR JSON)"),
                           {},
                           false,
                           {QString::fromUtf8(fileDialogFilter(GraphExportFormat::json))}};
    environment_.platform->showOpenPanel(panel, [this](const QString& path) { loadBaseline(path); });
}

void ProjectStore::loadBaseline(const QString& path) {
    std::string error;
    try {
        auto bytes = readWholeFile(path.toStdString(), &error);
        if (bytes) {
            write(baselineIR_, decodeProjectIR(*bytes), &ProjectStore::baselineIRChanged);
            recomputeDiffIfPossible();
            return;
        }
    } catch (const DecodeError& decodeError) {
        error = decodeError.what();
    }
    write(lastExportError_, QStringLiteral("Failed to load baseline: ") + QString::fromStdString(error),
          &ProjectStore::lastExportErrorChanged);
}

void ProjectStore::exportGraph(GraphExportFormat format) {
    if (!ir_) return;
    SavePanelRequest panel;
    panel.title = QStringLiteral("Export graph");
    panel.proposedName = QStringLiteral("vantrel.") + QString::fromUtf8(fileExtension(format));
    panel.nameFilters = {QString::fromUtf8(fileDialogFilter(format))};
    // The graph of this moment is exported, whatever a scan does while the panel is up.
    auto exported = std::make_shared<const ProjectIR>(*ir_);
    environment_.platform->showSavePanel(
        panel, [this, format, exported](const QString& path) { writeExport(format, *exported, path); });
}

void ProjectStore::writeExport(GraphExportFormat format, const ProjectIR& ir, const QString& path) {
    OptionalText failure;
    try {
        std::string data = GraphExport::makeData(format, ir, nodePositions_);
        // Written beside the target and renamed over it: a reader never sees half a file.
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(data.data(), static_cast<qint64>(data.size())) != static_cast<qint64>(data.size()) ||
            !file.commit())
            failure = file.errorString();
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    }
    write(lastExportError_, std::move(failure), &ProjectStore::lastExportErrorChanged);
}

void ProjectStore::extractFirstFileURL(const QMimeData& data, const std::function<void(const QString&)>& completion) {
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) {
            completion(url.toLocalFile());
            return;
        }
    }
}

}  // namespace vantrel
