// Counted lists: who owns an object, and when it dies.
#include <gtest/gtest.h>

#include "base/Vector.h"

namespace {

// Records its own destruction in a counter owned by the test.
class Tracked : public Object {
public:
  explicit Tracked(int* deaths, int id = 0) : id(id), deaths_(deaths) {}
  ~Tracked() override { ++*deaths_; }
  int id;

private:
  int* deaths_;
};

// An object dies with its last reference, whether two lists or one list twice
// hold it; removal closes the gap in order.
TEST(ObjVector, ObjectsDieWithTheirLastReference) {
  int deaths = 0;
  auto* shared = new Tracked(&deaths);
  {
    ObjVector<Tracked> first;
    first.add(shared);
    {
      ObjVector<Tracked> second;
      second.add(shared);
      second.add(shared);
      EXPECT_EQ(shared->refCount, 3);
      second.remove(0);
    }
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(shared->refCount, 1);
    for (int i = 1; i < 4; ++i)
      first.add(new Tracked(&deaths, i));
    first.remove(1);
    first.remove(2);  // the last entry
    EXPECT_EQ(deaths, 2);
    ASSERT_EQ(first.size(), 2);
    EXPECT_EQ(first[0], shared);
    EXPECT_EQ(first[1]->id, 2);
  }
  EXPECT_EQ(deaths, 4);
}

TEST(ObjVector, AppendAndAssignmentShareObjects) {
  int deaths = 0;
  ObjVector<Tracked> src, dst;
  src.add(new Tracked(&deaths, 1));
  dst.add(new Tracked(&deaths, 0));
  dst.append(src);
  ASSERT_EQ(dst.size(), 2);
  EXPECT_EQ(dst[1], src[0]);
  EXPECT_EQ(src[0]->refCount, 2);
  EXPECT_EQ(src.size(), 1);

  dst = src;  // dst's own object loses its only reference
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(src[0]->refCount, 2);
  auto& alias = src;
  src = alias;
  EXPECT_EQ(src[0]->refCount, 2);

  src.append(src);  // appending to itself must not read the array while it grows
  ASSERT_EQ(src.size(), 2);
  EXPECT_EQ(src[1], src[0]);
  EXPECT_EQ(src[0]->refCount, 3);
}

}  // namespace
