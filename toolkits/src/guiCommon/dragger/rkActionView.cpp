#include "rkActionView.h"

#include <osgViewer/View>

namespace Rk {

osgViewer::View* ActionView::of(osgGA::GUIActionAdapter& action)
{
    const std::type_info* type = &typeid(action);
    for (const Remembered& entry : m_remembered)
        if (entry.action == &action && entry.type == type)
            return entry.view;
    osgViewer::View* view = dynamic_cast<osgViewer::View*>(&action);
    m_remembered[m_next] = {&action, type, view};
    m_next = (m_next + 1) % REMEMBERED;
    return view;
}

} // namespace Rk
