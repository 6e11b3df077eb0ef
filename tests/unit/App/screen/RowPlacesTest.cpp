#include "RowPlaces.h"

#include <gtest/gtest.h>

namespace {

TEST(RowPlacesTest, PlacesAreGivenInTheOrderInWhichRowsCome) {
    RowPlaces places;
    EXPECT_EQ(places.add(30), 0);
    EXPECT_EQ(places.add(10), 1);
    EXPECT_EQ(places.add(20), 2);
    EXPECT_EQ(places.find(30), 0);
    EXPECT_EQ(places.find(10), 1);
    EXPECT_EQ(places.find(20), 2);
}

TEST(RowPlacesTest, ARowThatWasNotAddedHasNone) {
    RowPlaces places;
    EXPECT_EQ(places.find(1), RowPlaces::kNone);
    EXPECT_EQ(places.add(2), 0);
    EXPECT_EQ(places.find(1), RowPlaces::kNone);
    EXPECT_EQ(places.find(3), RowPlaces::kNone);
}

TEST(RowPlacesTest, WhenARowIsRemovedThoseBehindItMoveUp) {
    RowPlaces places;
    EXPECT_EQ(places.add(30), 0);
    EXPECT_EQ(places.add(10), 1);
    EXPECT_EQ(places.add(20), 2);
    places.remove(10);
    EXPECT_EQ(places.find(10), RowPlaces::kNone);
    EXPECT_EQ(places.find(30), 0);
    EXPECT_EQ(places.find(20), 1);
    EXPECT_EQ(places.add(40), 2);
}

TEST(RowPlacesTest, ClearedItBeginsAgain) {
    RowPlaces places;
    EXPECT_EQ(places.add(1), 0);
    places.clear();
    EXPECT_EQ(places.find(1), RowPlaces::kNone);
    EXPECT_EQ(places.add(2), 0);
}

}  // namespace
