#pragma once

// The default brand's files, which a new brand begins with. Raw data of the kit's own exe.

#define ID_TEMPLATE_CONFIG 401
#define ID_TEMPLATE_BACKGROUND 402
#define ID_TEMPLATE_LOGO 403
#define ID_TEMPLATE_ICON 404
