#include "rkImageDragger.h"

#include "rkPrint.h"

#include <QSizeF>
#include <QTimer>
#include <QWidget>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/StateSet>
#include <osg/Texture2D>
#include <osg/Transform>
#include <osgDB/ReadFile>
#include <osgDB/Registry>

#include <cmath>

namespace {

/// The name under which a press reports its point through the print facility.
const char* const HANDLE_NAME =
    "virtual bool RkImageDragger::handle(const osgManipulator::PointerInfo&, "
    "const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&)";

/// 2^63: doubles of smaller magnitude truncate to a 64-bit integer without overflow.
constexpr double INT64_LIMIT = 9223372036854775808.0;

/// The texture unit of the image; the quad's texture coordinates sit there too.
constexpr unsigned int IMAGE_TEXTURE_UNIT = 0;

/// Truncates toward zero to a 64-bit integer and keeps its low 32 bits, so a
/// negative index wraps to a large key (-1 gives 4294967295). Values with no
/// 64-bit integer (NaN, infinities, |value| >= 2^63) give no key.
bool truncatedKey(double value, unsigned int& key)
{
    if (!(std::fabs(value) < INT64_LIMIT))
        return false;
    key = static_cast<unsigned int>(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    return true;
}

bool isFinite(const osg::Matrixd& matrix)
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            if (!std::isfinite(matrix(row, column)))
                return false;
    return true;
}

osg::Geometry* createUnitQuad()
{
    osg::ref_ptr<osg::Vec3Array> corners = new osg::Vec3Array;
    corners->push_back(osg::Vec3(0.0f, 0.0f, 0.0f));
    corners->push_back(osg::Vec3(1.0f, 0.0f, 0.0f));
    corners->push_back(osg::Vec3(1.0f, 1.0f, 0.0f));
    corners->push_back(osg::Vec3(0.0f, 1.0f, 0.0f));
    osg::ref_ptr<osg::Vec4Array> white = new osg::Vec4Array;
    white->push_back(osg::Vec4(1.0f, 1.0f, 1.0f, 1.0f));

    osg::Geometry* quad = new osg::Geometry;
    quad->setVertexArray(corners.get());
    // The corners double as texture coordinates: the image spans the square.
    quad->setTexCoordArray(IMAGE_TEXTURE_UNIT, corners.get());
    quad->setColorArray(white.get(), osg::Array::BIND_OVERALL);
    quad->addPrimitiveSet(new osg::DrawArrays(osg::PrimitiveSet::QUADS, 0, 4));
    return quad;
}

osg::StateSet* createImageState(osg::Image* image)
{
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(image);
    // Cells map to pixels, so the image must keep its own size.
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_BORDER);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_BORDER);

    osg::StateSet* state = new osg::StateSet;
    state->setMode(GL_BLEND, osg::StateAttribute::ON);
    state->setTextureAttributeAndModes(IMAGE_TEXTURE_UNIT, texture.get(), osg::StateAttribute::ON);
    // Off and protected: the panel shows the image's own colours whatever the
    // scene's lighting overrides say.
    state->setMode(GL_LIGHTING, osg::StateAttribute::PROTECTED);
    return state;
}

} // namespace

// ---------------------------------------------------------------------------
// RkImageProjector

RkImageProjector::RkImageProjector(QWidget* widget, double x0, double y0, double displaySize)
    : m_widget(widget), m_x0(x0), m_y0(y0), m_displaySize(displaySize)
{
    // The base starts with a clean identity cache; marking it stale lets the
    // first projection also decide whether the inverse is usable.
    _worldToLocalDirty = true;
}

RkImageProjector::~RkImageProjector() = default;

void RkImageProjector::setImageSize(int width, int height)
{
    m_imageWidth = width;
    m_imageHeight = height;
}

// The base caches the inverse behind a stale flag; this keeps the same cache
// and also remembers whether the inverse exists, so that a singular matrix is
// not tested again at every press.
bool RkImageProjector::refreshWorldToLocal() const
{
    if (_worldToLocalDirty) {
        m_worldToLocalValid = _worldToLocal.invert(_localToWorld) && isFinite(_worldToLocal);
        _worldToLocalDirty = false;
    }
    return m_worldToLocalValid;
}

bool RkImageProjector::project(const osgManipulator::PointerInfo& pointer, osg::Vec3d& point) const
{
    const double divisor = 2.0 * m_displaySize;
    if (!m_widget || m_widget->width() <= 0 || m_widget->height() <= 0 ||
        !(std::fabs(divisor) > MIN_DIVISOR) || !refreshWorldToLocal())
        return false;

    osg::Vec3d nearPoint, farPoint;
    pointer.getNearFarPoints(nearPoint, farPoint);
    const osg::Matrixd& m = _worldToLocal;
    const double w =
        nearPoint.x() * m(0, 3) + nearPoint.y() * m(1, 3) + nearPoint.z() * m(2, 3) + m(3, 3);
    const double localX =
        (nearPoint.x() * m(0, 0) + nearPoint.y() * m(1, 0) + nearPoint.z() * m(2, 0) + m(3, 0)) / w;
    const double localY =
        (nearPoint.x() * m(0, 1) + nearPoint.y() * m(1, 1) + nearPoint.z() * m(2, 1) + m(3, 1)) / w;

    const QSizeF widgetSize(m_widget->size());
    const QSizeF unitsPerCell = widgetSize / divisor;
    const double px = localX / unitsPerCell.width() - m_x0 - 1.0;
    // Widget rows count down from the top; image rows from the first row.
    const double py = widgetSize.height() - (localY / unitsPerCell.height() + m_y0);
    const double cellIndex = px + py * m_displaySize;
    // A zero w or an overflowing product would hand the caller inf or NaN.
    if (!std::isfinite(px) || !std::isfinite(py) || !std::isfinite(cellIndex))
        return false;
    point.set(px, py, cellIndex);
    return true;
}

// ---------------------------------------------------------------------------
// RkImageDraggerCallback

void RkImageDraggerCallback::callback()
{
    if (m_function && !m_function->empty())
        (*m_function)();
}

// ---------------------------------------------------------------------------
// RkImageDragger

RkImageDragger::RkImageDragger(QWidget* widget, const std::string& fileName, double x0, double y0,
                               double displaySize)
    : m_projector(new RkImageProjector(widget, x0, y0, displaySize)), m_timer(new QTimer),
      m_callback(new RkImageDraggerCallback)
{
    // osgManipulator's base gives every dragger an empty state set; this one
    // has state only with an image, so that a plain quad inherits everything.
    setStateSet(nullptr);
    m_image = osgDB::readImageFile(fileName, osgDB::Registry::instance()->getOptions());
    // A reader may hand back an image without pixels (a damaged file); such
    // an image is treated as no image at all.
    if (m_image && (m_image->s() <= 0 || m_image->t() <= 0 || !m_image->data()))
        m_image = nullptr;
    if (m_image)
        m_projector->setImageSize(m_image->s(), m_image->t());

    m_timer->setInterval(REPEAT_INTERVAL_MS);
    QObject::connect(m_timer.get(), SIGNAL(timeout()), m_callback.get(), SLOT(callback()));
}

RkImageDragger::~RkImageDragger()
{
    // The timer goes first: no tick may reach a function being released.
    m_timer.reset();
    m_regions.clear();
    m_callback.reset();
    m_projector = nullptr;
    m_image = nullptr;
}

bool RkImageDragger::isRepeating() const
{
    return m_timer->isActive();
}

void RkImageDragger::setupDefaultGeometry()
{
    if (getNumChildren() > 0)
        return;
    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->addDrawable(createUnitQuad());
    geode->setNodeMask(QUAD_NODE_MASK);
    // The state sits on the dragger, not the quad, so a host can swap it.
    if (m_image)
        setStateSet(createImageState(m_image.get()));
    addChild(geode.get());
}

osg::ref_ptr<osg::MatrixTransform> RkImageDragger::getTransformedNode()
{
    setupDefaultGeometry();
    const double size = m_projector->getDisplaySize();
    const osg::Matrixd placement =
        osg::Matrixd::scale(size, size, size) *
        osg::Matrixd::translate(m_projector->getX0() - 1.0, m_projector->getY0(), -1.0);
    osg::ref_ptr<osg::MatrixTransform> transform = new osg::MatrixTransform(placement);
    transform->addChild(this);
    return transform;
}

void RkImageDragger::addRegion(const std::set<unsigned int>& pixels,
                               boost::function<void()> function)
{
    // Without an image there is no pixel grid to map from.
    if (m_projector->getImageWidth() <= 0 || m_projector->getImageHeight() <= 0)
        return;
    for (unsigned int pixel : pixels)
        claimPixel(pixel, function);
}

void RkImageDragger::claimPixel(unsigned int pixel, const boost::function<void()>& function)
{
    const unsigned int width = static_cast<unsigned int>(m_projector->getImageWidth());
    const unsigned int height = static_cast<unsigned int>(m_projector->getImageHeight());
    const double size = m_projector->getDisplaySize();
    const unsigned int row = pixel / width;
    const unsigned int column = pixel % width;

    unsigned int cellRow = 0, cellColumn = 0, rowLength = 0;
    if (!truncatedKey(column * (size / width), cellColumn) ||
        !truncatedKey(row * (size / height), cellRow) || !truncatedKey(size, rowLength))
        return;
    // emplace keeps an existing entry: the first claim of a cell wins.
    m_regions.emplace(cellRow * rowLength + cellColumn, function);
}

bool RkImageDragger::handle(const osgManipulator::PointerInfo& pointer,
                            const osgGA::GUIEventAdapter& event, osgGA::GUIActionAdapter& actions)
{
    switch (event.getEventType()) {
    case osgGA::GUIEventAdapter::PUSH:
        return pressed(pointer, actions);
    case osgGA::GUIEventAdapter::RELEASE:
        return released();
    default:
        return false;
    }
}

bool RkImageDragger::projectPointer(const osgManipulator::PointerInfo& pointer, osg::Vec3d& point)
{
    osg::NodePath pathToRoot;
    osgManipulator::computeNodePathToRoot(*this, pathToRoot);
    m_projector->setLocalToWorld(osg::computeLocalToWorld(pathToRoot, true));
    point.set(0.0, 0.0, 0.0);
    return m_projector->project(pointer, point);
}

bool RkImageDragger::pressed(const osgManipulator::PointerInfo& pointer,
                             osgGA::GUIActionAdapter& actions)
{
    osg::Vec3d point;
    if (!projectPointer(pointer, point))
        return false;
    Rk::Print::instance().ostream(Rk::PRINT_INFO, HANDLE_NAME)
        << "Found point " << point.x() << " " << point.y() << " " << point.z() << std::endl;

    unsigned int key = 0;
    if (!truncatedKey(point.z(), key))
        return false;
    const RegionTable::const_iterator region = m_regions.find(key);
    if (region == m_regions.end())
        return false;

    m_callback->setFunction(&region->second);
    m_timer->start();
    actions.requestRedraw();
    return true;
}

bool RkImageDragger::released()
{
    m_timer->stop();
    return true;
}
