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

TEST(ObjVector, NullsAreAssertions) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // BLAS may have started threads
  ObjVector<Tracked> list;
  EXPECT_DEATH(list.add(nullptr), "item != NULL, function add, file base/Vector.h, line 92");
  VectorBase corrupted;
  corrupted.v.push_back(nullptr);
  EXPECT_DEATH(corrupted.clear(), "v\\[i\\] != NULL, function clear, file base/Vector.h, line 104");
  corrupted.v.clear();
}

TEST(ArrVector, ItemsOfFixedWidth) {
  ArrVector<int> hkl(3);
  const int a[3] = {1, 2, 3}, b[3] = {-1, 0, 4}, c[3] = {7, 8, 9};
  hkl.add(a);
  hkl.add(b);
  hkl.add(c);
  EXPECT_EQ(hkl.v.size(), 9u);
  EXPECT_EQ(hkl.item(1)[2], 4);

  ArrVector<double> none(0);
  const double x[2] = {1.0, 2.0};
  none.add(x);
  EXPECT_TRUE(none.v.empty());
}

}  // namespace
