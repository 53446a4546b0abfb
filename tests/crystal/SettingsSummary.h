// The generator's summary of every setting (tests/data/settings_summary.tsv), read as independent truth.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct SettingSummary {
  int number = 0;
  int setting = 0;
  std::string symbol;
  int operators = 0;  // the full list the loader builds
  int centric = 0;
  char lattice = 0;
  int grid[3] = {0, 0, 0};  // least grid of the fixed Wyckoff coordinates
  int positions = 0;
};

// Rows in file order; comment lines start with '#', the first other line names the columns.
inline std::vector<SettingSummary> ReadSettingsSummary() {
  std::ifstream in(std::string(HALVORIN_TEST_DATA) + "/settings_summary.tsv");
  std::vector<SettingSummary> rows;
  std::string line;
  bool header = true;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#')
      continue;
    if (header) {
      header = false;
      continue;
    }
    std::istringstream fields(line);
    SettingSummary row;
    std::string field;
    std::vector<std::string> f;
    while (std::getline(fields, field, '\t'))
      f.push_back(field);
    if (f.size() < 11)
      continue;
    row.number = std::stoi(f[0]);
    row.setting = std::stoi(f[1]);
    row.symbol = f[2];
    row.operators = std::stoi(f[3]);
    row.centric = std::stoi(f[5]);
    row.lattice = f[6].empty() ? 0 : f[6][0];
    for (int i = 0; i < 3; ++i)
      row.grid[i] = std::stoi(f[7 + i]);
    row.positions = std::stoi(f[10]);
    rows.push_back(row);
  }
  return rows;
}
