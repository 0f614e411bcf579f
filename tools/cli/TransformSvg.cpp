#include "TransformSvg.h"
std::string TransformSvg(const TransformPicture&) { return "<svg xmlns=\"http://www.w3.org/2000/svg\"/>\n"; }
