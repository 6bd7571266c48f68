// Counted pointers and the Base root.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <sstream>
#include <string>
#include <utility>

#include "base/Base.h"
#include "base/Counted.h"

namespace Zarn {
namespace {

// An object that counts how many of it are alive and, when it dies, notes what its control block said then.
struct Tracked {
  static int alive;
  static int made;
  static const counted_base* watched;  // control block to read from the destructor, or null
  static int countSeenAtDeath;         // count read from `watched` while this object was being deleted

  int value;
  explicit Tracked(int v = 0) : value(v) {
    ++alive;
    ++made;
  }
  ~Tracked() {
    --alive;
    if (watched != nullptr) countSeenAtDeath = static_cast<int>(watched->useCount());
  }
};
int Tracked::alive = 0;
int Tracked::made = 0;
const counted_base* Tracked::watched = nullptr;
int Tracked::countSeenAtDeath = -1;

class Counted : public ::testing::Test {
 protected:
  void SetUp() override {
    Tracked::alive = 0;
    Tracked::made = 0;
    Tracked::watched = nullptr;
    Tracked::countSeenAtDeath = -1;
  }
  void TearDown() override { Tracked::watched = nullptr; }
};

TEST_F(Counted, MakeStartsWithCountOne) {
  counted_ptr<Tracked> p = makeCounted<Tracked>(41);
  ASSERT_TRUE(p);
  EXPECT_EQ(p.useCount(), 1u);
  EXPECT_EQ(p->value, 41);
  EXPECT_EQ((*p).value, 41);
  EXPECT_EQ(Tracked::alive, 1);
  EXPECT_NE(p.control(), nullptr);
}

TEST_F(Counted, CopyRaisesAndDropLowersTheCount) {
  counted_ptr<Tracked> p = makeCounted<Tracked>(1);
  {
    counted_ptr<Tracked> q(p);
    EXPECT_EQ(p.useCount(), 2u);
    EXPECT_EQ(q.useCount(), 2u);
    EXPECT_EQ(q.get(), p.get());
    EXPECT_EQ(q.control(), p.control());
  }
  EXPECT_EQ(p.useCount(), 1u);
  EXPECT_EQ(Tracked::alive, 1);
}

TEST_F(Counted, LastDropDeletesTheObjectWhileTheControlBlockStillStands) {
  counted_ptr<Tracked> p = makeCounted<Tracked>(7);
  counted_ptr<Tracked> q = p;
  Tracked::watched = p.control();

  p.reset();
  EXPECT_FALSE(p);
  EXPECT_EQ(p.useCount(), 0u);
  EXPECT_EQ(Tracked::alive, 1);  // q still owns it
  EXPECT_EQ(Tracked::countSeenAtDeath, -1);

  q.reset();
  EXPECT_EQ(Tracked::alive, 0);
  // The object's destructor could still read the control block, with the count at 0: the object went first.
  EXPECT_EQ(Tracked::countSeenAtDeath, 0);
  EXPECT_FALSE(q);
  EXPECT_EQ(q.get(), nullptr);
  EXPECT_EQ(q.control(), nullptr);
}

TEST_F(Counted, ReleaseDeletesTheObjectButLeavesTheControlBlockToTheCaller) {
  auto* control = new counted_impl<Tracked>(new Tracked(3));
  control->acquire();
  EXPECT_EQ(control->useCount(), 2u);

  EXPECT_EQ(control->release(), 1u);
  EXPECT_EQ(Tracked::alive, 1);

  EXPECT_EQ(control->release(), 0u);
  EXPECT_EQ(Tracked::alive, 0);
  EXPECT_EQ(control->useCount(), 0u);  // the block is still there to be read
  delete control;
  EXPECT_EQ(Tracked::alive, 0);
}

TEST_F(Counted, ControlBlockDestructorDoesNotTouchTheObject) {
  Tracked* object = new Tracked(5);
  auto* control = new counted_impl<Tracked>(object);
  delete control;
  EXPECT_EQ(Tracked::alive, 1);
  EXPECT_EQ(object->value, 5);
  delete object;
}

TEST_F(Counted, DroppingAnEmptyPointerDoesNothing) {
  counted_ptr<Tracked> p;
  EXPECT_FALSE(p);
  EXPECT_EQ(p.useCount(), 0u);
  p.reset();
  p.reset();
  EXPECT_FALSE(p);
  EXPECT_EQ(p.get(), nullptr);
  EXPECT_EQ(p.control(), nullptr);
  counted_ptr<Tracked> q(p);
  EXPECT_FALSE(q);
  EXPECT_EQ(Tracked::made, 0);
}

TEST_F(Counted, AssignDropsTheOldObjectAndSharesTheNewOne) {
  counted_ptr<Tracked> a = makeCounted<Tracked>(1);
  counted_ptr<Tracked> b = makeCounted<Tracked>(2);
  EXPECT_EQ(Tracked::alive, 2);

  a = b;
  EXPECT_EQ(Tracked::alive, 1);  // the object of a had no other owner
  EXPECT_EQ(a->value, 2);
  EXPECT_EQ(a.useCount(), 2u);
  EXPECT_EQ(a.control(), b.control());

  counted_ptr<Tracked> empty;
  a = empty;
  EXPECT_FALSE(a);
  EXPECT_EQ(b.useCount(), 1u);
  EXPECT_EQ(Tracked::alive, 1);
}

TEST_F(Counted, SelfAssignKeepsTheObject) {
  counted_ptr<Tracked> a = makeCounted<Tracked>(9);
  counted_ptr<Tracked>& alias = a;
  a = alias;
  ASSERT_TRUE(a);
  EXPECT_EQ(a->value, 9);
  EXPECT_EQ(a.useCount(), 1u);
  EXPECT_EQ(Tracked::alive, 1);
}

TEST_F(Counted, MoveTransfersWithoutChangingTheCount) {
  counted_ptr<Tracked> a = makeCounted<Tracked>(4);
  const counted_base* control = a.control();
  counted_ptr<Tracked> b(std::move(a));
  EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): the moved-from state is the contract
  EXPECT_EQ(b.useCount(), 1u);
  EXPECT_EQ(b.control(), control);

  counted_ptr<Tracked> c = makeCounted<Tracked>(5);
  c = std::move(b);
  EXPECT_EQ(Tracked::alive, 1);  // c's old object went
  EXPECT_EQ(c->value, 4);
  EXPECT_EQ(c.useCount(), 1u);
}

// A base without a virtual destructor: deletion must still be as the class that was made.
struct Shape {
  static int shapesAlive;
  Shape() { ++shapesAlive; }
  ~Shape() { --shapesAlive; }
  int sides = 0;
};
int Shape::shapesAlive = 0;

struct Square : Shape {
  static int squaresAlive;
  Square() {
    ++squaresAlive;
    sides = 4;
  }
  ~Square() { --squaresAlive; }
};
int Square::squaresAlive = 0;

TEST_F(Counted, ConvertsToABasePointerSharingTheControlBlock) {
  Shape::shapesAlive = 0;
  Square::squaresAlive = 0;
  counted_ptr<Square> square = makeCounted<Square>();
  counted_ptr<Shape> shape = square;
  EXPECT_EQ(shape.control(), square.control());
  EXPECT_EQ(shape.useCount(), 2u);
  EXPECT_EQ(shape->sides, 4);
  EXPECT_EQ(static_cast<Shape*>(square.get()), shape.get());

  square.reset();
  EXPECT_EQ(shape.useCount(), 1u);
  EXPECT_EQ(Square::squaresAlive, 1);

  shape.reset();
  EXPECT_EQ(Square::squaresAlive, 0);  // deleted as the Square it was made as
  EXPECT_EQ(Shape::shapesAlive, 0);

  counted_ptr<Shape> moved = makeCounted<Square>();  // converting move
  EXPECT_EQ(moved.useCount(), 1u);
  EXPECT_EQ(Square::squaresAlive, 1);
  moved.reset();
  EXPECT_EQ(Square::squaresAlive, 0);
}

// A type whose allocation always fails, as when memory is exhausted.
struct Unallocatable {
  static int constructed;
  Unallocatable() { ++constructed; }
  static void* operator new(std::size_t, const std::nothrow_t&) noexcept { return nullptr; }
  static void operator delete(void* p) noexcept { ::operator delete(p); }
};
int Unallocatable::constructed = 0;

TEST_F(Counted, FailedAllocationGivesAnEmptyPointer) {
  Unallocatable::constructed = 0;
  counted_ptr<Unallocatable> p = makeCounted<Unallocatable>();
  EXPECT_FALSE(p);
  EXPECT_EQ(p.get(), nullptr);
  EXPECT_EQ(p.control(), nullptr);
  EXPECT_EQ(p.useCount(), 0u);
  EXPECT_EQ(Unallocatable::constructed, 0);
}

// A minimal model object to exercise Base.
class TestPoint : public Base {
 public:
  counted_ptr<Base> clone(bool) const override {
    counted_ptr<TestPoint> copy = makeCounted<TestPoint>();
    if (copy) copy->id = id;
    return copy;
  }
  const char* className() const override { return "TestPoint"; }
};

TEST(CountedBase, PrintWritesClassNameAndId) {
  TestPoint point;
  const Base& base = point;
  std::ostringstream fresh;
  base.print(fresh);
  EXPECT_EQ(fresh.str(), "TestPoint ID=0");

  point.id = 42;
  std::ostringstream out;
  base.print(out) << "|";  // returns the stream it was given
  EXPECT_EQ(out.str(), "TestPoint ID=42|");

  point.id = -7;
  std::ostringstream negative;
  base.print(negative);
  EXPECT_EQ(negative.str(), "TestPoint ID=-7");
}

TEST(CountedBase, CloneGivesACountedCopy) {
  TestPoint point;
  point.id = 12;
  counted_ptr<Base> copy = point.clone(true);
  ASSERT_TRUE(copy);
  EXPECT_NE(copy.get(), &point);
  EXPECT_EQ(copy->id, 12);
  EXPECT_EQ(copy.useCount(), 1u);
  EXPECT_STREQ(copy->className(), "TestPoint");
}

}  // namespace
}  // namespace Zarn
