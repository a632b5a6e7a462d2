// The project store's panels: opening a folder, loading a baseline, exporting, drops.
#include <QDir>
#include <QFileInfo>
#include <QMimeData>
#include <QSaveFile>
#include <QUrl>

#include "app/state/Preferences.h"
#include "app/state/ProjectStore.h"
#include "core/config/VantrelConfig.h"
#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "imageexport/GraphExport.h"

namespace vantrel {

namespace {

// Panels open where the last one was confirmed: projects and exports tend to sit together.
QString lastPanelFolder() { return Preferences::value(QString::fromUtf8(prefkeys::kLastPanelFolder)).toString(); }

void rememberPanelFolder(const QString& folder) {
    Preferences::setValue(QString::fromUtf8(prefkeys::kLastPanelFolder), folder);
}

QString folderOf(const QString& file) { return QFileInfo(file).absolutePath(); }

}  // namespace

void ProjectStore::chooseProjectFolder() {
    OpenPanelRequest panel{
        QStringLiteral("Select a project folder"), QStringLiteral("Select"), true, {}, lastPanelFolder()};
    environment_.platform->showOpenPanel(panel, [this](const QString& path) {
        rememberPanelFolder(folderOf(QDir::cleanPath(path)));  // the project's parent, where its siblings are
        scan(path);
    });
}

void ProjectStore::excludeFileAndRescan(const QString& file) {
    if (projectRoot_.isEmpty()) return;
    const QDir root(projectRoot_);
    const QString relative = root.relativeFilePath(root.absoluteFilePath(file));
    if (relative.startsWith(QStringLiteral(".."))) return;  // not a file of this project
    const ConfigEdit edit =
        addProjectExclusion(projectRoot_.toStdString(), QDir::fromNativeSeparators(relative).toStdString(), config_);
    if (!edit.error.empty()) {
        reportFileError(QStringLiteral("Could not exclude the file"), QString::fromStdString(edit.error));
        return;
    }
    scan(QString(projectRoot_));  // a copy: scan() resets the root first
}

void ProjectStore::chooseBaselineSnapshot() {
    OpenPanelRequest panel{QStringLiteral("Select baseline snapshot (ProjectIR JSON)"),
                           {},
                           false,
                           {QString::fromUtf8(fileDialogFilter(GraphExportFormat::json))},
                           lastPanelFolder()};
    environment_.platform->showOpenPanel(panel, [this](const QString& path) {
        rememberPanelFolder(folderOf(path));
        loadBaseline(path);
    });
}

void ProjectStore::unloadBaseline() {
    write(baselineIR_, std::nullopt, &ProjectStore::baselineIRChanged);
    write(diffModeEnabled_, false, &ProjectStore::diffModeEnabledChanged);
    recomputeDiffIfPossible();
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
    reportFileError(QStringLiteral("Could not load baseline"), QStringLiteral("Failed to load baseline: ") +
                                                                   QString::fromStdString(error) +
                                                                   QStringLiteral(" (%1)").arg(path));
}

void ProjectStore::reportFileError(const QString& title, const QString& message) {
    lastExportErrorTitle_ = title;
    write(lastExportError_, message, &ProjectStore::lastExportErrorChanged);
}

void ProjectStore::exportGraph(GraphExportFormat format) {
    if (!ir_) return;
    SavePanelRequest panel;
    panel.title = QStringLiteral("Export graph");
    panel.proposedName = QStringLiteral("vantrel.") + QString::fromUtf8(fileExtension(format));
    panel.nameFilters = {QString::fromUtf8(fileDialogFilter(format))};
    panel.startFolder = lastPanelFolder();
    // The graph of this moment is exported, whatever a scan does while the panel is up.
    auto exported = std::make_shared<const ProjectIR>(*ir_);
    environment_.platform->showSavePanel(panel, [this, format, exported](const QString& path) {
        rememberPanelFolder(folderOf(path));
        writeExport(format, *exported, path);
    });
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
    if (failure) {
        reportFileError(QStringLiteral("Export failed"),
                        QStringLiteral("Could not write %1: %2").arg(QDir::toNativeSeparators(path), *failure));
        return;
    }
    write(lastExportError_, std::nullopt, &ProjectStore::lastExportErrorChanged);
    emit exported(path);
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
