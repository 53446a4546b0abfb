// The bundled examples read through their condition files: what each data set
// declares, as its facts file states it, arrives in the analysis object.
#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "readmem_support.h"

namespace {

const std::string kExamples = std::string(HALVORIN_SOURCE_DIR) + "/examples/";

std::vector<std::string> exampleNames() {
  std::vector<std::string> names;
  if (DIR* dir = opendir(kExamples.c_str())) {
    while (dirent* entry = readdir(dir)) {
      const std::string name = entry->d_name;
      if (name.size() > 6 && name.compare(name.size() - 6, 6, ".facts") == 0)
        names.push_back(name.substr(0, name.size() - 6));
    }
    closedir(dir);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// "key value" lines; the value is the rest of the line.
std::map<std::string, std::string> readFacts(const std::string& name) {
  std::map<std::string, std::string> facts;
  std::ifstream in(kExamples + name + ".facts");
  std::string line;
  while (std::getline(in, line)) {
    const size_t blank = line.find(' ');
    if (blank != std::string::npos)
      facts[line.substr(0, blank)] = line.substr(blank + 1);
  }
  return facts;
}

double number(const std::map<std::string, std::string>& facts, const std::string& key) {
  auto found = facts.find(key);
  return found == facts.end() ? NAN : std::stod(found->second);
}

std::vector<double> numbers(const std::map<std::string, std::string>& facts,
                            const std::string& key) {
  std::vector<double> values;
  auto found = facts.find(key);
  if (found != facts.end()) {
    std::istringstream in(found->second);
    double x;
    while (in >> x)
      values.push_back(x);
  }
  return values;
}

class BundledExample : public ::testing::TestWithParam<std::string> {
protected:
  void SetUp() override {
    facts = readFacts(GetParam());
    ASSERT_FALSE(facts.empty());
    CapturedOutput quiet;
    mem = AnalysisFor("", 0);
    ASSERT_TRUE(mem->param.ReadConditions(kExamples + GetParam() + ".prf"));
    ASSERT_TRUE(mem->ReadFobs());
  }
  std::map<std::string, std::string> facts;
  std::unique_ptr<MEMData3D> mem;
};

TEST_P(BundledExample, CountsHeaderAndSymmetryAsDeclared) {
  EXPECT_EQ(mem->param.fileType, (int)number(facts, "file_type"));
  EXPECT_EQ(mem->nRefF, (int)number(facts, "nref_f"));
  EXPECT_EQ(mem->nRefG, (int)number(facts, "nref_g"));
  EXPECT_EQ(mem->nGroups, (int)number(facts, "ngroups"));
  EXPECT_EQ(mem->nRefE, (int)number(facts, "nref_e"));
  EXPECT_EQ(mem->reflections.size(), mem->nRefUnobs + mem->nRefF + mem->nRefG + mem->nRefE);

  EXPECT_EQ(std::string(mem->title), facts["title"]);
  const std::vector<double> cell = numbers(facts, "cell"), grid = numbers(facts, "grid");
  ASSERT_EQ(cell.size(), 6u);
  ASSERT_EQ(grid.size(), 3u);
  for (int i = 0; i < 6; ++i)
    EXPECT_NEAR(mem->unitCell.cell[i], cell[i], 1e-4);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(mem->gridSize[i], (int)grid[i]);
  EXPECT_NEAR(mem->voxelVolume * grid[0] * grid[1] * grid[2], number(facts, "volume"), 1e-3);
  EXPECT_NEAR(mem->targetMoment[0], number(facts, "f000_plus"), 1e-4);
  EXPECT_NEAR(mem->targetMoment[1], number(facts, "f000_minus"), 1e-4);
  EXPECT_DOUBLE_EQ(mem->param.lambda, number(facts, "lambda"));

  EXPECT_EQ(mem->unitCell.spgNumber, (int)number(facts, "space_group_number"));
  EXPECT_EQ(mem->unitCell.spgSetting, (int)number(facts, "space_group_setting"));
  EXPECT_EQ(std::string(mem->unitCell.spgName), facts["space_group_symbol"]);
  EXPECT_EQ(mem->unitCell.symOp.size(), (int)number(facts, "n_sym_op"));
  EXPECT_EQ(mem->unitCell.centric, (int)number(facts, "centric"));
}

INSTANTIATE_TEST_SUITE_P(Examples, BundledExample, ::testing::ValuesIn(exampleNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           return info.param;
                         });

}  // namespace
