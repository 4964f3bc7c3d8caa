#include "util/Counted.h"

#include <gtest/gtest.h>

namespace {

struct Tracked : Counted {
  explicit Tracked(int &alive) : m_Alive(alive) { ++m_Alive; }
  Tracked(const Tracked &other) : Counted(other), m_Alive(other.m_Alive) { ++m_Alive; }
  ~Tracked() override { --m_Alive; }
  int &m_Alive;
};

TEST(Counted, LastReleaseDestroys) {
  int alive = 0;
  auto *object = new Tracked(alive);
  EXPECT_EQ(object->UseCount(), 0u);
  object->AddRef();
  object->AddRef();
  object->Release();
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(object->UseCount(), 1u);
  Tracked copy(*object); // a copy has no users of its own
  EXPECT_EQ(copy.UseCount(), 0u);
  EXPECT_EQ(alive, 2);
  object->Release();
  EXPECT_EQ(alive, 1); // only the copy is left
}

} // namespace
