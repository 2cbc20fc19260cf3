// What the tables of tracks have in common.
//
// Threads: main.
#pragma once

class QTableView;

/// Rows of one height that are selected as a whole, scroll bars of the look, nothing else around the cells. The table
/// has a MyTableViewHeadView, and no rows yet.
void setUpTable(QTableView &table, int rowHeight);
