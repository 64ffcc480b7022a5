/* SPDX-License-Identifier: GPL-2.0 */
/* Finds the largest items in one pass. Not thread-safe. */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* @Item must have a u64 member key. */
template <typename Item, size_t kPlaces>
class TopList {
public:
	void clear()
	{
		count_ = 0;
		smallest_ = 0;
	}

	/*
	 * Return: the place of a further item with this key, which the caller fills; null if others
	 * are larger. An item that equals the smallest one has no place.
	 */
	[[nodiscard]] Item *place_for(u64 key)
	{
		if (count_ < kPlaces) {
			if (key < places_[smallest_].key)
				smallest_ = count_;
			places_[count_].key = key;
			return &places_[count_++];
		}
		if (key <= places_[smallest_].key)
			return nullptr;
		Item *place = &places_[smallest_];
		place->key = key;
		find_smallest();
		return place;
	}

	/* Sorts in descending order. Equal items stay in their order. */
	void sort()
	{
		for (size_t pass = 1; pass < count_; pass++)
			for (size_t i = 0; i + 1 < count_; i++)
				if (places_[i].key < places_[i + 1].key)
					swap(places_[i], places_[i + 1]);
	}

	[[nodiscard]] const Item *begin() const { return places_; }

	[[nodiscard]] const Item *end() const { return places_ + count_; }

private:
	/* Of equal items, selects the one just replaced, otherwise the first one. */
	void find_smallest()
	{
		for (size_t i = 0; i < kPlaces; i++)
			if (places_[i].key < places_[smallest_].key)
				smallest_ = i;
	}

	static void swap(Item &a, Item &b)
	{
		const Item was = a;
		a = b;
		b = was;
	}

	Item places_[kPlaces]{};
	size_t count_ = 0;
	size_t smallest_ = 0;
};

} /* namespace zem */
