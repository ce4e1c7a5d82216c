#include "platform/support/CookieJar.h"

#include "platform/support/config.h"

#include <climits>

CookieJar::CookieJar()
    : defaultVersion_(
          static_cast<unsigned char>(config_int("default_cookie_version", 0, 0, UCHAR_MAX)))
{
}

CookieJar& CookieJar::instance()
{
    static CookieJar jar;
    return jar;
}
