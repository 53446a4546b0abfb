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

TEST(ObjVector, ObjectInTwoListsOutlivesTheFirst) {
  int deaths = 0;
  auto* shared = new Tracked(&deaths);
  {
    ObjVector<Tracked> first;
    first.add(shared);
    {
      ObjVector<Tracked> second;
      second.add(shared);
      EXPECT_EQ(shared->refCount, 2);
    }
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(shared->refCount, 1);
  }
  EXPECT_EQ(deaths, 1);
}

TEST(ObjVector, SameObjectTwiceDiesAtSecondRelease) {
  int deaths = 0;
  auto* item = new Tracked(&deaths);
  ObjVector<Tracked> list;
  list.add(item);
  list.add(item);
  list.remove(0);
  EXPECT_EQ(deaths, 0);
  list.clear();
  EXPECT_EQ(deaths, 1);
}

TEST(ObjVector, RemoveClosesTheGapInOrder) {
  int deaths = 0;
  ObjVector<Tracked> list;
  for (int i = 0; i < 4; ++i)
    list.add(new Tracked(&deaths, i));
  list.remove(1);
  list.remove(2);  // the last entry
  EXPECT_EQ(deaths, 2);
  ASSERT_EQ(list.size(), 2);
  EXPECT_EQ(list[0]->id, 0);
  EXPECT_EQ(list[1]->id, 2);
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
