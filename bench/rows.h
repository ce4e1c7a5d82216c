#pragma once

#include "bench/table.h"

/// The rows of the table, family by family; each function stands in the source of its name.
namespace cel::bench {

std::vector<Row> searchRows();
std::vector<Row> editingRows();
std::vector<Row> rangeEditRows();
std::vector<Row> wholeTrackRows();
std::vector<Row> crossfadeRows();
std::vector<Row> longEditRows();
std::vector<Row> persistenceRows();
std::vector<Row> savingRows();
std::vector<Row> storeRows();
std::vector<Row> trackHandleRows();
std::vector<Row> levelRows();
std::vector<Row> subtitleFileRows();
std::vector<Row> subtitleRows();

std::vector<Note> memoryNotes();

} // namespace cel::bench
