// Tabs 1 and 2 of the points screen: the gift catalogue and the gift exchange.
#include "frmPointManage.h"

namespace ormex::module::points {

void frmPointManage::queryGiftCatalogue() {}

void frmPointManage::addGift() {}

void frmPointManage::deleteGift() {}

bool frmPointManage::saveGiftSettings(const frame::SavePackage&, std::string&)
{
    return true;
}

std::string frmPointManage::giftCatalogueEmptying() const
{
    return {};
}

void frmPointManage::queryExchangeCard() {}

bool frmPointManage::confirmExchange(std::string&)
{
    return false;
}

bool frmPointManage::saveExchange(const frame::SavePackage&, std::string&)
{
    return true;
}

} // namespace ormex::module::points
