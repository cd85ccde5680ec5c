#pragma once

#include <QAbstractTableModel>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QStringList>

#include <filesystem>
#include <vector>

/// The files to share, in the order in which they are uploaded, and what has become of each.
class FileListModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { nameColumn, stateColumn, sizeColumn, columnsInAll };

    using QAbstractTableModel::QAbstractTableModel;

    /// Adds the files that are not in the list yet. Gives back what is no file, such as a folder.
    QStringList add(const QStringList& paths);

    [[nodiscard]] std::vector<std::filesystem::path> paths() const;
    [[nodiscard]] qint64 totalSize() const;

    /// Every file waits.
    void beginSharing();

    /// Marks the files up to this part of the batch, from 0 to 1, each file counting the same. A
    /// failed file adds nothing to the part, so until the outcome is known the marks may lag.
    void showProgress(double part);

    /// How far that is, as "412 of 1,000, 1.2 of 3.4 GB".
    [[nodiscard]] QString progressText() const;

    /// Everything is shared.
    void showShared();

    /// Nothing more is uploaded; `failures` has what went wrong with which path.
    void showEnd(const QHash<QString, QString>& failures);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;

private:
    struct File {
        QFileInfo info;
        QString canonicalPath;
        qint64 size;
        QString state;
    };

    [[nodiscard]] static QVariant textOf(const File& file, int column);
    void changeState(std::size_t row, const QString& state);
    void stateChanged(std::size_t first, std::size_t end);

    QFileIconProvider icons_;
    std::vector<File> files_;
    QSet<QString> canonicalPaths_;
    std::size_t done_ = 0; ///< files that are uploaded
    qint64 doneSize_ = 0;  ///< of these
    double partOfNext_ = 0;
};

/// A size in bytes in the user's language.
QString sizeText(qint64 size);
