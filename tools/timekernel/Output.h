// Writes a table of results in one of three formats: aligned text for a terminal, CSV, or JSON.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace cli {

enum class Format { Table, Csv, Json };

// A rectangular table: a header row of column names and rows of cells. Each cell is text, or a number that the
// writer formats for its format (shortest exact form in CSV and JSON, 6 significant digits in a table).
struct Cell {
  bool isNumber = false;
  double number = 0.0;
  std::string text;
  static Cell num(double v) { return {true, v, {}}; }
  static Cell str(std::string s) { return {false, 0.0, std::move(s)}; }
};

struct Table {
  std::vector<std::string> header;
  std::vector<std::vector<Cell>> rows;
};

// Table: columns right-aligned for numbers, left for text, two spaces apart. CSV: RFC 4180 quoting where
// needed.
void writeTable(std::FILE* out, const Table& t, Format f);

// The number as the shortest decimal text that reads back to the same double ("nan", "inf" and "-inf" in CSV).
std::string exactNumber(double v);
// A JSON string literal, with the quotes.
std::string jsonString(const std::string& s);
// A JSON number, or null for a NaN or an infinity, which JSON cannot hold.
std::string jsonNumber(double v);

// A progress bar on standard error, drawn only when standard error is a terminal. `total` units of work.
class Progress {
 public:
  Progress(const char* what, long long total);
  ~Progress();
  void advance(long long done);  // units finished so far

 private:
  const char* what_;
  long long total_;
  int drawn_ = -1;
  bool active_ = false;
};

}  // namespace cli
