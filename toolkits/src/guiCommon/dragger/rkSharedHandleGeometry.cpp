#include "rkSharedHandleGeometry.h"

#include "rkTriangleIndex.h"

#include <osg/observer_ptr>

#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Rk {

namespace {

using Key = std::pair<std::string, std::vector<std::uint32_t>>;
using Store = std::map<Key, osg::observer_ptr<osg::Node>>;

Key keyOf(const char* kind, std::initializer_list<float> sizes)
{
    Key key(kind, {});
    for (float size : sizes) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &size, sizeof bits);
        key.second.push_back(bits);
    }
    return key;
}

// Entries whose node is gone are dropped whenever a new one is added, so the
// store never holds more than the geometry alive plus one.
void dropExpired(Store& store)
{
    for (auto entry = store.begin(); entry != store.end();)
        entry = entry->second.valid() ? std::next(entry) : store.erase(entry);
}

} // namespace

osg::ref_ptr<osg::Node> SharedHandleGeometry::get(const char* kind,
                                                  std::initializer_list<float> sizes,
                                                  const Builder& build)
{
    static std::mutex mutex;
    static Store store;
    const Key key = keyOf(kind, sizes);
    std::lock_guard<std::mutex> lock(mutex);
    osg::ref_ptr<osg::Node> node;
    auto found = store.find(key);
    if (found != store.end() && found->second.lock(node))
        return node;
    node = build();
    if (!node)
        return node;
    TriangleIndex::attachBelow(*node);
    dropExpired(store);
    store[key] = node.get();
    return node;
}

} // namespace Rk
