#ifndef RK_PLUGIN_H
#define RK_PLUGIN_H

#include <osg/Matrixd>

#include <map>
#include <tuple>
#include <type_traits>

namespace Rk {

/// Matrix parameter of a GUI plug-in: the end-effector pose, unindexed.
constexpr unsigned int PARAM_END_EFFECTOR_POSE = 261u;
/// Matrix parameter addressed by two indices chosen by the host.
constexpr unsigned int PARAM_INDEXED_MATRIX = 14u;

/// A host plug-in with typed matrix parameters.
///
/// The typed templates exist for `T = osg::Matrixd` and forward to the two
/// virtual hooks, one call each. By default the values live in a store of the
/// plug-in: a write stores and returns true; a read of a stored value returns
/// it and true; a read of a value never written leaves the argument untouched
/// and returns false (and `param` then gives the identity).
class Plugin
{
public:
    Plugin() = default;
    virtual ~Plugin();

    /// Unindexed parameter `Id`, read at the indices (0, 0); identity if unset.
    template <unsigned int Id, typename T> T param() const;
    /// Writes unindexed parameter `Id` at the indices (0, 0).
    template <unsigned int Id, typename T> bool setParam(const T& value);
    /// Reads parameter `Id` at (i, j) into `value`; false leaves it untouched.
    template <unsigned int Id, typename T>
    bool getParam(unsigned int i, unsigned int j, T& value) const;
    /// Writes parameter `Id` at (i, j).
    template <unsigned int Id, typename T>
    bool setParam(unsigned int i, unsigned int j, const T& value);

protected:
    /// What a concrete plug-in overrides: read and write matrix parameter `id`
    /// at the indices (i, j); unindexed parameters use (0, 0). A read of a
    /// value never written leaves `value` untouched and returns false.
    virtual bool readMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                                 osg::Matrixd& value) const;
    /// Stores `value` as parameter `id` at (i, j); true.
    virtual bool writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                                  const osg::Matrixd& value);

private:
    using Key = std::tuple<unsigned int, unsigned int, unsigned int>;
    std::map<Key, osg::Matrixd> m_store;
};

/// A plug-in with a user interface; its parameter 261 is the end-effector pose.
class PluginGUI : public Plugin
{
};

template <unsigned int Id, typename T> T Plugin::param() const
{
    static_assert(std::is_same<T, osg::Matrixd>::value, "only matrix parameters exist");
    T value; // identity
    readMatrixParam(Id, 0u, 0u, value);
    return value;
}

template <unsigned int Id, typename T> bool Plugin::setParam(const T& value)
{
    static_assert(std::is_same<T, osg::Matrixd>::value, "only matrix parameters exist");
    return writeMatrixParam(Id, 0u, 0u, value);
}

template <unsigned int Id, typename T>
bool Plugin::getParam(unsigned int i, unsigned int j, T& value) const
{
    static_assert(std::is_same<T, osg::Matrixd>::value, "only matrix parameters exist");
    return readMatrixParam(Id, i, j, value);
}

template <unsigned int Id, typename T>
bool Plugin::setParam(unsigned int i, unsigned int j, const T& value)
{
    static_assert(std::is_same<T, osg::Matrixd>::value, "only matrix parameters exist");
    return writeMatrixParam(Id, i, j, value);
}

} // namespace Rk

#endif
