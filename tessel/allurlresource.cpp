// SPDX-License-Identifier: MIT
#include <tessel/allurlresource.h>

namespace {

const QString urlPrefix = QStringLiteral("/api/v1");

} // namespace

const QString AllUrlResource::Device_Hwinfo = QStringLiteral("/api/v1/device/hw");
const QString AllUrlResource::Device_System = QStringLiteral("/api/v1/device/hw/system");
const QString AllUrlResource::Device_AllScreens = QStringLiteral("/api/v1/device/screen");
const QString AllUrlResource::Device_Mult_AllScreens = QStringLiteral("/api/v1/screen");

AllUrlResource* AllUrlResource::m_pInstance = nullptr;

struct AllUrlResource::Route
{
    const char* key;
    const char* path;
};

// Quirk: Instances are made without a lock and never deleted. The operators do as this table.
AllUrlResource* AllUrlResource::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new AllUrlResource(nullptr);
    }
    return m_pInstance;
}

QMap<QString, QString> AllUrlResource::getMapAllUrl()
{
    return m_mapAllUrl;
}

QString AllUrlResource::getUrl(const QString& key)
{
    return getInstance()->m_mapAllUrl.value(key);
}

// Quirk: The routes of the colour algorithms are never in force. Nothing calls initAlgorithm().
AllUrlResource::AllUrlResource(QObject* parent)
    : QObject(parent)
{
    initHwInfo();
    initPipes();
    initCorrectionop();
    initOutPuts();
    initCabinets();
    initInputs();
    initScreens();
    initFactoryop();
    initCapability();
    initHwScreen();
    initMonitor();
    initSelfTestop();
}

AllUrlResource::~AllUrlResource() = default;

void AllUrlResource::insertAll(const QString& prefix, std::initializer_list<Route> routes)
{
    for (const Route& route : routes) {
        m_mapAllUrl.insert(QLatin1String(route.key), prefix + QLatin1String(route.path));
    }
}

// Quirk: Misspelt names are part of the interface. Operations use the keys as they are spelt here.
// Quirk: Keys that share a path stay separate.
// Quirk: Keys that no operation looks up stay in the table.
//
// One route per line.
// clang-format off

void AllUrlResource::initHwInfo()
{
    m_mapAllUrl.insert(QStringLiteral("Device_Hwinfo"), Device_Hwinfo);
    m_mapAllUrl.insert(QStringLiteral("Device_System"), Device_System);
    insertAll(urlPrefix, {
        {"Device_Customemit", "/device/hw/threed/emitter"},
        {"Device_PipeThreeDSingaldelaytime", "/device/hw/threed/signaldelaytime"},
        {"Device_Customdata", "/device/hw/customdata"},
        {"Device_BackInfo", "/device/hw/hotbackup"},
        {"Device_IncreaseVideoDelay", "/device/hw/syncinfo/increasevideodelay"},
        {"Device_SyncInfo", "/device/hw/syncinfo"},
        {"Device_SyncInfoFrequency", "/device/hw/syncinfo/frequency"},
        {"Device_SyncInfoInput", "/device/hw/syncinfo/input"},
        {"Device_SyncInfoExternalInput", "/device/hw/syncinfo/externalinput"},
        {"Device_Rename", "/device/hw/customname"},
        {"Device_BackGroundPicture", "/device/hw/deviceimage"},
        {"Device_BackGroundPictureToggle", "/device/hw/deviceimagetoggle"},
        {"Device_Mapping", "/device/hw/mapping"},
        {"Device_Sreencontrol", "/device/hw/displaymode"},
        {"Device_NoSignalImage", "/device/hw/abnormal/nosignalimage"},
        {"Device_HwUpdate", "/device/hw/update"},
        {"Device_HwUpdateProgress", "/device/hw/updateprogress"},
        // Quirk: The path of the hardware mode ends in a blank.
        {"Device_EnterHwMode", "/device/hw/enterhwmode "},
        {"Device_HDMode", "/device/hw/hdmode"},
        {"Device_Version", "/device/hw/version"},
        {"Device_TestMode", "/device/hw/testmode"},
        {"Device_TestModePattern", "/device/hw/testmode/pattern"},
        {"Device_TestImagePos", "/device/hw/testmode/image/location"},
        {"Device_TestImageRegion", "/device/hw/testmode/image/scope"},
        {"Device_TestImagePath", "/device/hw/testmode/image"},
        // Quirk: A route key inserted twice keeps its last path.
        {"Device_SyncInfo", "/device/hw/syncinfo"},
        {"Device_LogLevel", "/device/log/level"},
        {"Device_LogReserve", "/device/log/age"},
        {"Device_lock", "/device/hw/lock"},
    });
    insertAll(QString(), {
        {"Device_Protoc", "/api/protocol/version"},
        {"Device_Capability_Protoc", "/api/capability/version"},
    });
}

void AllUrlResource::initPipes()
{
    insertAll(urlPrefix, {
        {"Device_Pipes", "/device/pipeline"},
        {"Device_PipeInfo", "/device/pipeline/{id}"},
        {"Device_PipeInputId", "/device/pipeline/{id}/inputid"},
        {"Device_PipeMirrorMode", "/device/pipeline/{id}/mirrormode"},
        {"Device_PipeImageHandleType", "/device/pipeline/{id}/imagehandletype"},
        {"Device_PipeThreeD", "/device/pipeline/{id}/threed"},
        {"Device_PipeThreeDSwitch", "/device/pipeline/{id}/3d/switch"},
        // Quirk: Three 3D operations of a pipeline have paths of other names.
        {"Device_PipeThreeDType", "/device/pipeline/{id}/3d/sourcemode"},
        {"Device_PipeThreeDEyepriority", "/device/pipeline/{id}/3d/eyepriority"},
        {"Device_PipeThreeDSourcenadj", "/device/pipeline/{id}/3d/fielddepth"},
        {"Device_PipeThreeDStartposition", "/device/pipeline/{id}/3d/righteyeoffset"},
        {"Device_PipeThreeDDepthField", "/device/pipeline/{id}/3d/fielddepth"},
        {"Device_PipeHDRHLGType", "/device/pipeline/{id}/hdr/hlgmode"},
        {"Device_PipeHDRType", "/device/pipeline/{id}/hdr/mode"},
        {"Device_PipeHDRMaxoflight", "/device/pipeline/{id}/hdr/peakbrightness"},
        {"Device_PipeHDRIlluminance", "/device/pipeline/{id}/hdr/illuminance"},
        {"Device_PipeHDRLowgray", "/device/pipeline/{id}/hdr/lowgray"},
        {"Device_PipeBrightness", "/device/pipeline/{id}/brightness"},
        {"Device_PipeColorTemperature", "/device/pipeline/{id}/colortemperature"},
        {"Device_PipeGamma", "/device/pipeline/{id}/gamma"},
        {"Device_Pipe18Bit", "/device/pipeline/{id}/18bit"},
        {"Device_PipeSeamAdjustment", "/device/pipeline/{id}/seamadjustment"},
        {"Device_PipeColorAdjust", "/device/pipeline/{id}/coloradjustment"},
        {"Device_PipeLowLatency", "/device/pipeline/{id}/lowlatency"},
        {"Device_PipeHDRSwitch", "/device/pipeline/{id}/hdr/switch"},
        {"Device_PipePrestoreImage", "/device/pipeline/{id}/prestoreimage/image"},
        {"Device_PipePrestoreImagePos", "/device/pipeline/{id}/prestoreimage/imageposition"},
        {"Device_PipePrestoreImageRegion", "/device/pipeline/{id}/prestoreimage/imageregion"},
        {"Device_PipeStartImageSwitch", "/device/pipeline/{id}/prestoreimage/bootimage"},
        {"Device_PipeStartImageTime", "/device/pipeline/{id}/prestoreimage/boottimespan"},
        {"Device_PipeCableDisconnect", "/device/pipeline/{id}/prestoreimage/cabledisstatus"},
        {"Device_PipeDVINoSignal", "/device/pipeline/{id}/prestoreimage/dvinosignal"},
        {"Device_PipeHandleZoomSwitch", "/device/pipeline/{id}/handle/zooms"},
        {"Device_PipeGlobalScreenSwitch", "/device/pipeline/{id}/handle/globalscreens"},
        {"Device_PipeInterceptionPosition", "/device/pipeline/{id}/handle/interceptionposition"},
        {"Device_PipeInterceptionSize", "/device/pipeline/{id}/handle/interceptionsize"},
        {"Device_PipeZoomMode", "/device/pipeline/{id}/handle/zoommode"},
        {"Device_PipeDisplayAreaPosition", "/device/pipeline/{id}/handle/displayareaposition"},
        {"Device_PipeDisplayAreaSize", "/device/pipeline/{id}/handle/displayareasize"},
        {"Device_PipeGroupScreenIds", "/device/pipeline/{id}/gid"},
        {"Device_PipeGroupScreenRelativePoint", "/device/pipeline/{id}/relativepoint"},
        {"Device_PipeHandleParameters", "/device/pipeline/{id}/handle"},
        {"ChannelHue", "/device/channel/{id}/hue"},
        {"ChannelContrast", "/device/channel/{id}/contrast"},
        {"ChannelSaturation", "/device/channel/{id}/saturation"},
        {"ChannelBlackLevel", "/device/channel/{id}/blacklevel"},
        {"Channel3D", "/device/channel/{id}/3d"},
        {"Channel3DSwtich", "/device/channel/{id}/3d/switch"},
        {"Channel3DSourceMode", "/device/channel/{id}/sourcemode"},
        {"Channel3DEyePriority", "/device/channel/{id}/eyepriority"},
        {"Channel3DRightEyeOffset", "/device/channel/{id}/righteyeoffset"},
        {"Channel3DFieldDepth", "/device/channel/{id}/3d/fielddepth"},
        {"ChannelHDR", "/device/channel/{id}/hdr"},
        // Quirk: A route key inserted twice keeps its last path.
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/switch"},
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/mode"},
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/hlgmode"},
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/peakbrightness"},
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/illuminance"},
        {"ChannelHDRSwitch", "/device/channel/{id}/hdr/lowgray"},
    });
}

void AllUrlResource::initCorrectionop()
{
    insertAll(urlPrefix, {
        {"Device_CorrectionAction", "/device/correctionop/screens/{id}/action"},
        {"Device_uploadCoefficient", "/device/correctionop/coefficient"},
        {"Device_TestFlash", "/device/correctionop/flash"},
        {"Device_AdjustCoefficient", "/device/correctionop/linecoefficient"},
        {"Device_AdjustRGBCoefficient", "/device/correctionop/regionrgbcoefficient"},
        {"Device_AdjustHSLCoefficient", "/device/correctionop/regionhslcoefficient"},
        {"Device_ScreenEffectMode", "/device/correctionop/screens/{id}/effectmode"},
        {"Device_SetCabinetCorrect", "/device/correctionop/cabinets/{cid}/effectmode"},
        {"Device_SetCabinetCorrectEffect", "/device/correctionop/cabinets/correctioneffect"},
        {"Device_SetCabinetsCorrect", "/device/correctionop/cabinets/effectmode"},
        {"Device_GetCabinetsCorrect", "/device/correctionop/cabinets/{cid}/effectmode"},
        {"Device_LoadCabinetsCorrect", "/device/correctionop/cabinets/loadcoefficient"},
        {"Device_ClearCabinetsCorrect", "/device/correctionop/cabinets/clearcoefficient"},
        {"Device_CorrectionEnable", "/device/correctionop/cabinets/correctionenable"},
        {"Device_GetCorrectionEnable", "/device/correctionop/cabinets/{cid}/correctionenable"},
        {"Device_CorrectionGrayDisplay", "/device/correctionop/cabinets/graydisplay"},
        {"Device_CorrectionGrayCoeff", "/device/correctionop/cabinets/graycoefficient"},
        {"Device_CorrectionThreshold", "/device/correctionop/cabinets/correctionthreshold"},
        {"Device_CorrectionGrayGather", "/device/correctionop/cabinets/graygather"},
        {"Device_CorrectionGrayRGB", "/device/correctionop/cabinets/grayrgb"},
        {"Device_SetCorrectionNiccData", "/device/correctionop/cabinets/nicc"},
        {"Device_GetCorrectionNiccData", "/device/correctionop/cabinets/{cid}/nicc"},
        {"Device_CorrectionColorManageMode", "/device/correctionop/cabinets/colorcoeffadjust"},
        {"Device_ScreenNiccData", "/device/correctionop/screens/{id}/nicc"},
        {"Device_ScreenCorrColorMode", "/device/correctionop/screens/{id}/colorcoeffadjust"},
        {"Device_GetCorrectionColorManageMode", "/device/correctionop/cabinets/{cid}/colorcoeffadjust"},
        {"Device_SetCorrectionNiccMeasure", "/device/correctionop/cabinets/niccmeasures"},
        {"Device_GetCorrectionNiccMeasure", "/device/correctionop/cabinets/{cid}/niccmeasures"},
        {"Device_SaveCabCofficient", "/device/correctionop/screens/{id}/usereffectadjustcoeffsave"},
        {"Device_GetCabinetCoefficients", "/device/correctionop/cabinets/chroma/coefficient"},
        {"Device_PutCabinetCoefficients", "/device/correctionop/cabinets/{cid}/coefficientv2"},
        {"Device_SaveCabinetsCofficient", "/device/correctionop/cabinets/savecoefficient"},
        {"Device_SaveCabinetsFactoryCofficient", "/device/correctionop/cabinets/savefactorycoefficient"},
        {"Device_ShowCabinetsCofficient", "/device/correctionop/cabinets/showcoefficient"},
        {"Device_ShowCabinetsFactoryCofficient", "/device/correctionop/cabinets/showfactorycoefficient"},
        {"Device_ShowCabinetsModuleCofficient", "/device/correctionop/cabinets/showmodulecoefficient"},
        // Quirk: Saving the module coefficients goes to the path that shows them.
        {"Device_SaveCabinetsModuleCofficient", "/device/correctionop/cabinets/showmodulecoefficient"},
        // Quirk: Clearing the user coefficients goes to the plain clear path.
        {"Device_ClearCabinetsModuleCofficient", "/device/correctionop/cabinets/clearcoefficient"},
        {"Device_ClearCabinetsMultilayerCofficient", "/device/correctionop/cabinets/multilayer/clear"},
        {"Device_PutCabinetsCoefficient", "/device/correctionop/cabinets/chroma/coefficient"},
        {"Device_GetCabinetMultilayerCoefficients", "/device/correctionop/cabinets/multilayer/{cid}/coefficient"},
        {"Device_PutCabinetMultilayerCoefficients", "/device/correctionop/cabinets/multilayer/{cid}/coefficient"},
        {"Device_PutCabinetsMultilayerCoefficients", "/device/correctionop/cabinets/multilayer/coefficient"},
        {"Device_PutCabinetsAdaptiveCoefficients", "/device/correctionop/cabinets/adaptive/coefficient"},
        {"Device_PutCabinetsDynamicCoefficients", "/device/correctionop/cabinets/dynamic/coefficient"},
        {"Device_PutCabinetsLowgrayCoefficients", "/device/correctionop/cabinets/lowgray/coefficient"},
        {"Device_SaveCabinetsLowgrayCofficient", "/device/correctionop/cabinets/lowgray/save"},
        // Quirk: Saving the adaptive coefficients goes to a path of the receiving cards.
        {"Device_SaveCabinetsAdapCofficient", "/device/correctionop/cabinets/rvcardcoefficient"},
        {"Device_ApplyCabinetsLowgrayCofficient", "/device/correctionop/cabinets/lowgray/apply/coefficient"},
        {"Device_ClearCabinetsLowgrayCofficient", "/device/correctionop/cabinets/lowgray/clear"},
        {"Device_ClearModuleCoefficient", "/device/correctionop/cabinets/clearmodulecoefficient"},
        {"Device_SaveModuleCoefficient", "/device/correctionop/cabinets/savecoefftomodule"},
        {"Device_ShowModuleCoefficient", "/device/correctionop/cabinets/showmodulecoefficient"},
        {"Device_Correction_flashcheckcode", "/device/correctionop/cabinets/{cid}/flashlinkstate"},
        {"Device_SaveCabinetsMultilayerCofficient", "/device/correctionop/cabinets/multilayer/save"},
        {"Device_SetCabinetsMultilayerParameter", "/device/correctionop/cabinets/multilayer/parameter"},
        {"Device_SetCabinetsMultilayerParameterV2", "/device/correctionop/cabinets/multilayer/coefficient/parameter"},
        {"Device_SetCabinetsAdaptiveParameterV2", "/device/correctionop/cabinets/adaptive/parameter"},
        {"Device_SetCabinetsDynamicParameter", "/device/correctionop/cabinets/dynamic/parameter"},
        {"Device_setScreensXBit", "/device/correctionop/screens/{id}/imagequality/xbit/gamma/mode"},
        {"Device_setScreensABL", "/device/correctionop/screens/{id}/imagequality/abl/enable"},
    });
}

void AllUrlResource::initOutPuts()
{
    insertAll(urlPrefix, {
        {"Device_AllOutputsInfo", "/device/output"},
        {"Device_OutputInfo", "/device/output/{outputid}"},
        {"Device_AllOutputsPipeMapping", "/device/output/pipelinemapping"},
        {"Device_OutputPipeMapping", "/device/output/{outputid}/pipeline"},
        {"Device_OutputEnable", "/device/output/{outputid}/enable"},
        {"Device_OutputResolution", "/device/output/{outputid}/resolution"},
        {"Device_OutputOffset", "/device/output/{outputid}/offset"},
    });
}

void AllUrlResource::initCabinets()
{
    insertAll(urlPrefix, {
        {"Device_RxsInfo", "/device/cabinet/rxs"},
        {"Device_AllCabinetsInfo", "/device/cabinet"},
        {"Device_Multi_CabFineGray", "/device/cabinet/finegray"},
        {"Device_Single_CabFineGray", "/device/cabinet/{id}/finegray"},
        {"Device_Multi_CabCorrection", "/device/cabinet/correction"},
        {"Device_Single_CabCorrection", "/device/cabinet/{id}/correction"},
        {"Device_CabBootImageRegion", "/device/cabinet/bootimage/imageregion"},
        {"Device_Multi_CabBootImageTime", "/device/cabinet/bootimage/boottimespan"},
        {"Device_Single_CabBootImageTime", "/device/cabinet/{id}/bootimage/boottimespan"},
        {"Device_Multi_CabAbnormalDisconnected", "/device/cabinet/abnormalscreen/cabledisconnected"},
        {"Device_Single_CabAbnormalDisconnected", "/device/cabinet/{id}/abnormalscreen/cabledisconnected"},
        {"Device_Multi_CabPrestoreImage", "/device/cabinet/cabprestoreimage"},
        {"Device_Single_CabPrestoreImage", "/device/cabinet/{id}/cabprestoreimage"},
        {"Device_Multi_CommunicationDetecter", "/device/cabinet/enableber"},
        {"Device_Single_CommunicationDetecter", "/device/cabinet/{id}/enableber"},
        {"Device_Single_TestImage", "/device/cabinet/{id}/testpattern"},
        {"Device_Multi_TestImage", "/device/cabinet/testpattern"},
        {"Device_CommunicationDetecterData", "/device/cabinet/{id}/communicationerror"},
        {"Device_S_CabinetPhySize", "/device/cabinet/{id}/physicalsize"},
        {"Device_M_CabinetPhySize", "/device/cabinet/physicalsize"},
        {"Device_S_CabinetWeight", "/device/cabinet/{id}/weight"},
        {"Device_M_CabinetWeight", "/device/cabinet/weight"},
        {"Device_S_CabinetPower", "/device/cabinet/{id}/power"},
        {"Device_M_CabinetPower", "/device/cabinet/power"},
        {"Device_S_CabinetVoltage", "/device/cabinet/{id}/voltage"},
        {"Device_M_CabinetVoltage", "/device/cabinet/voltage"},
        {"Device_CabinetSingleBrightness", "/device/cabinet/{id}/brightness"},
        {"Device_CabinetMultBrightness", "/device/cabinet/brightness"},
        {"Device_CabinetSingleGamma", "/device/cabinet/{id}/gamma"},
        {"Device_CabinetMultGamma", "/device/cabinet/gamma"},
        {"Device_CabinetSingleBeacon", "/device/cabinet/{id}/beacon"},
        {"Device_CabinetMultBeacon", "/device/cabinet/beacon"},
        {"Device_CabSingleLightState", "/device/cabinet/{id}/indicatorlight"},
        {"Device_CabMultLightState", "/device/cabinet/indicatorlight"},
        {"Device_CabinetSingleColorTemp", "/device/cabinet/{id}/colortemperature"},
        {"Device_CabinetMultColorTemp", "/device/cabinet/colortemperature"},
        {"Device_CabinetRvSingleColorTemp", "/device/cabinet/{id}/rx/colortemperature"},
        {"Device_CabinetRvMultColorTemp", "/device/cabinet/rx/colortemperature"},
        {"Device_IsCustomGammaSingal", "/device/cabinet/{id}/enablecustomgamma"},
        {"Device_IsCustomGammaMult", "/device/cabinet/enablecustomgamma"},
        {"Device_S_CabinetGammaCustomValue", "/device/cabinet/{id}/customgamma"},
        {"Device_M_CabinetGammaCustomValue", "/device/cabinet/customgamma"},
        {"Device_CabinetGammaCurveInfo", "/device/cabinet/{id}/gammacurveinfo"},
        {"Device_S_CabinetRgbGain", "/device/cabinet/{id}/rgbgain"},
        {"Device_M_CabinetRgbGain", "/device/cabinet/rgbgain"},
        {"Device_S_Cabinet18bitMode", "/device/cabinet/{id}/eighteenbitmode"},
        {"Device_M_Cabinet18bitMode", "/device/cabinet/eighteenbitmode"},
        {"Device_S_CabinetSolid", "/device/cabinet/{id}/solid"},
        {"Device_M_CabinetSolid", "/device/cabinet/solid"},
        {"Device_CabinetsAllFlags", "/device/cabinet/flags"},
        {"Device_CabinetsFlags", "/device/cabinet/cabinetflags"},
        {"Device_CabinetsRxFlags", "/device/cabinet/recvcardflags"},
        {"Device_CabinetsModuleFlags", "/device/cabinet/moduleflags"},
        {"Device_Multi_Prestoreimage", "/device/cabinet/prestoreimage/image"},
        {"Device_Single_Prestoreimage", "/device/cabinet/{id}/prestoreimage/image"},
        {"Device_Multi_CabPrestoreimagePreview", "/device/cabinet/prestoreimage/preview"},
        {"Device_Single_CabPrestoreimagePreview", "/device/cabinet/{id}/prestoreimage/preview"},
        {"Device_Multi_CabBootImagePreview", "/device/cabinet/bootimage/preview"},
        {"Device_Single_CabBootImagePreview", "/device/cabinet/{id}/bootimage/preview"},
        {"Device_RvCards", "/device/cabinet/rx"},
        {"Device_RvCardUpdate", "/device/cabinet/rvupdate"},
        {"Device_RvCardUpdateLoad", "/device/cabinet/rvupdateload"},
        {"Device_RvCardUpdateProg", "/device/cabinet/rvupdateprogress"},
        {"Device_RvCardFirmware", "/device/cabinet/rvfirmware/{id}/{type}"},
        {"Device_DetecteSetErrorRateTime", "/device/cabinet/{id}/berdt"},
        {"Device_Single_DetecteErrorRateTime", "/device/cabinet/{id}/berdt"},
        {"Device_Multi_DetecteErrorRateTime", "/device/cabinet/berdt"},
        {"Device_DisplayGainData", "/device/cabinet/{id}/gaininfo"},
        {"Device_S_CabinetConfigfile", "/device/cabinet/{id}/rvcardconfig"},
        {"Device_M_CabinetConfigfile", "/device/cabinet/rvcardconfig"},
        {"Device_M_CabinetBaseInfo", "/device/cabinet/baseinfo"},
        {"Device_S_CabFamilyName", "/device/cabinet/{id}/familyname"},
        {"Device_M_CabFamilyName", "/device/cabinet/familyname"},
        {"Device_S_CabShortName", "/device/cabinet/{id}/shortname"},
        {"Device_M_CabShortName", "/device/cabinet/shortname"},
        {"Device_S_CabmfrsName", "/device/cabinet/{id}/mfrsname"},
        {"Device_S_AllCabmfrsName", "/device/cabinet/mfrsname"},
        {"Device_M_CabmfrsName", "/device/cabinet/mfrsname"},
        {"Device_S_CabPointSpace", "/device/cabinet/{id}/pointspace"},
        {"Device_M_CabPointSpace", "/device/cabinet/pointspace"},
        {"Device_S_CabType", "/device/cabinet/{id}/cabtype"},
        {"Device_M_CabType", "/device/cabinet/cabtype"},
        {"Device_S_AllCabType", "/device/cabinet/cabtype"},
        {"Device_S_AllCabChip", "/device/cabinet/cabchip"},
        {"Device_S_CabRecvName", "/device/cabinet/{id}/recvname"},
        {"Device_S_CabSN", "/device/cabinet/{id}/cabsn"},
        {"Device_S_CabRecvRate", "/device/cabinet/{id}/recvrate"},
        {"Device_M_CabinetFlags", "/device/cabinet/cabinetflags"},
        {"Device_M_Moduleflags", "/device/cabinet/moduleflags"},
        {"Device_CabinetLightAllParam", "/device/cabinet/{id}/cabinetlightallparam"},
        {"Device_CabinetGetXBitEnable", "/device/cabinet/{id}/xbitenable"},
        // Quirk: The XBit keys are paired crosswise with their operations.
        {"Device_CabinetsSetXBitEnable", "/device/cabinet/xbitenable"},
        {"Device_CabinetSetXBitEnable", "/device/cabinet/{id}/xbitenable"},
        {"Device_CabinetFineGrayConfig", "/device/cabinet/{id}/finegrayconfig"},
        {"Device_CabinetXBitRGBPhase", "/device/cabinet/xbitrgbphase"},
        {"Device_CabinetXBitGrayScale", "/device/cabinet/xbitgrayscale"},
        {"Device_CabinetXBitJitterMode", "/device/cabinet/xbitjittermode"},
        {"Device_CabinetXBitHighLowMode", "/device/cabinet/xbithighlowmode"},
        {"Device_CabinetsXBitRGBPhase", "/device/cabinet/{id}/xbitrgbphase"},
        {"Device_CabinetsXBitGrayScale", "/device/cabinet/{id}/xbitgrayscale"},
        {"Device_CabinetsXBitJitterMode", "/device/cabinet/{id}/xbitjittermode"},
        {"Device_CabinetsXBitHighLowMode", "/device/cabinet/{id}/xbithighlowmode"},
        {"Device_CabinetsXBitMode", "/device/cabinet/xbitmode"},
        {"Device_CabinetXBitMode", "/device/cabinet/{cid}/xbitmode"},
        {"Device_CabinetRGBBrightness", "/device/cabinet/{id}/rgbbrightness"},
        {"Device_CabinetsRGBBrightness", "/device/cabinet/rgbbrightness"},
        {"Device_CabinetRecvCards", "/device/cabinet/{id}/rxs"},
        {"Device_CabinetBrightnessRange", "/device/cabinet/{id}/effectadjustlimits"},
    });
}

void AllUrlResource::initInputs()
{
    insertAll(urlPrefix, {
        {"Device_AllInputs", "/device/input"},
        {"Device_Signal", "/device/input/{id}/signal"},
        {"Device_HdMode", "/device/input/{id}/hdmode"},
        {"Device_Backup", "/device/input/{id}/backup"},
        {"Device_ClearBackup", "/device/input/{id}/backup/reset"},
        {"Device_OneEDID", "/device/input/{id}/edid"},
        {"Device_Hue", "/device/input/{id}/hue"},
        {"Device_Contrast", "/device/input/{id}/contrast"},
        {"Device_Saturation", "/device/input/{id}/saturation"},
        {"Device_Blacklevel", "/device/input/{id}/blacklevel"},
        {"Device_SelLineState", "/device/input/{id}/selectlinestate"},
        {"Device_SelRegionState", "/device/input/{id}/selectregionstate"},
        {"Device_MouseToScreen", "/device/input/{id}/mousetoscreen"},
        {"Device_AllInputBackup", "/device/input/backup"},
        {"Device_VideoSourceBitDepth", "/device/input/{id}/bitdepth"},
    });
}

void AllUrlResource::initScreens()
{
    m_mapAllUrl.insert(QStringLiteral("Device_AllScreens"), Device_AllScreens);
    m_mapAllUrl.insert(QStringLiteral("Device_Mult_AllScreens"), Device_Mult_AllScreens);
    insertAll(urlPrefix, {
        {"ScreenRgbBrightness", "/device/screen/{id}/rgbbrightness"},
        {"ScreenBrightness", "/device/screen/{id}/brightness"},
        {"MulitScreenBrightness", "/screen/brightness"},
        {"ScreenGamma", "/device/screen/{id}/gamma"},
        {"MuliScreenGamma", "/screen/{id}/gamma"},
        {"ScreenGammaCurve", "/device/screen/{id}/gammacurve"},
        {"ScreenColorTemperature", "/device/screen/{id}/colortemperature"},
        {"ScreenGamut", "/device/screen/{id}/gamut"},
        {"ScreenXbit", "/device/screen/{id}/xbit"},
        {"ScreenLowLatency", "/device/screen/{id}/lowlatency"},
        {"ScreenFineGray", "/device/screen/{id}/finegray"},
        {"ScreenUniformDisplay", "/device/screen/{id}/uniformdisplay"},
        {"ScreenHDRSwitch", "/device/screen/{id}/hdr"},
        {"ScreenHDRType", "/device/screen/{id}/hdr/mode"},
        {"ScreenHLGMode", "/device/screen/{id}/hdr/hlgmode"},
        {"ScreenHDRPeakBrightness", "/device/screen/{id}/hdr/peakbrightness"},
        {"ScreenHDRIlluminance", "/device/screen/{id}/hdr/illuminance"},
        {"ScreenHDRLowgray", "/device/screen/{id}/hdr/lowgray"},
        {"Screen3DSwitch", "/device/screen/{id}/threed"},
        {"ScreenSourceMode", "/device/screen/{id}/threed/sourcemode"},
        {"Screen3DEyepriority", "/device/screen/{id}/threed/eyepriority"},
        {"Screen3DRighteyeOffset", "/device/screen/{id}/threed/righteyeoffset"},
        {"Screen3DFieldDepth", "/device/screen/{id}/threed/fielddepth"},
        {"ScreenCabledisconnect", "/device/screen/{id}/abnormalscreen/cabledisconnected"},
        {"ScreenPrestoreImageApplay", "/device/screen/{id}/prestoreimage"},
        {"ScreenPrestoreImage", "/device/screen/{id}/cabprestoreimage"},
        {"ScreenBootTimeSpan", "/device/screen/{id}/bootimage/boottimespan"},
        {"ScreenBootImagePreview", "/device/screen/{id}/prestoreimage/preview"},
        {"SenderTestMode", "/device/screen/{id}/txtestpattern"},
        {"ReceiveTestMode", "/device/screen/{id}/rxtestpattern"},
        {"ScreenHwScreenTag", "/device/screen/enable"},
        {"ScreenShowlineState", "/device/screen/isshowlinestate"},
        {"ScreenNormalDisplay", "/device/screen/normaldisplay"},
        {"ScreenColorsWitchData", "/device/screen/colorswitchdata"},
        {"ScreenGammaTable", "/device/screen/{id}/gammatable"},
        {"MultScreenGammaTable", "/screen/{id}/gammatable"},
        {"ScreenSetInput", "/device/screen/{id}/setinput"},
        {"ScreenGrayScale", "/device/screen/{id}/grayscale"},
        {"ScreenBrightnessMode", "/device/screen/{id}/brightnessmode"},
        {"ScreenXbitMode", "/device/screen/{id}/xbitmode"},
        {"ScreenTxTestPatternDisable", "/device/screen/{id}/txtestpattern/disable"},
        {"ScreenUpdateName", "/device/screen/name"},
        {"ScreenSolid", "/device/screen/{id}/solid"},
        {"ScreenSaveColorTemperature", "/device/screen/{id}/savecolortemperature"},
        {"ScreenColorSpaceInit", "/device/screen/colorspaceinit"},
        {"ScreenColor", "/device/screen/displaycolor"},
        {"ScreenDemoGamut", "/device/screen/demogamut"},
        {"ScreenColorSpaceRecover", "/device/screen/colorspacerecover"},
        {"ScreenColorSpaceInfo", "/device/screen/colorspaceledinfo"},
        {"ScreenNiccFile", "/device/screen/niccconfig"},
        {"ScreenNiccState", "/device/screen/niccstate"},
        {"ScreenSeamAdjustment", "/device/screen/{id}/seamadjustment"},
        {"Device_SwitchColorFromSrcToTarget", "/device/screen/{id}/colorchange"},
        {"Device_SkinProtect", "/device/screen/{id}/enableskinprotect"},
        {"Device_ToleranceImage", "/device/screen/{id}/enabletolerance"},
        {"Device_ColorCorrection", "/device/screen/{id}/colorcorrection"},
        {"Device_WhiteBlackColorCorrection", "/device/screen/{id}/whiteblackcolorcorrection"},
        {"Device_ResetColorCorrection", "/device/screen/{id}/resetcolorcorrection"},
        {"Device_ResetColorReplace", "/device/screen/{id}/resetcolorreplace"},
        {"Device_ColorCorrecttionTrigger", "/device/screen/{id}/colorcorrecttiontrigger"},
        {"Device_ColorReplaceTrigger", "/device/screen/{id}/colorreplacetrigger"},
    });
}

void AllUrlResource::initFactoryop()
{
    insertAll(urlPrefix, {
        {"Cabinet_CreateCabinet", "/device/factoryop/cabinets/{id}/struct"},
        {"Cabinet_SmartGroup", "/device/factoryop/cabinets/{id}/struct/temppattern"},
        {"Cabinet_FlashTopoInfo", "/device/factoryop/cabinets/{id}/struct/flash"},
        {"Cabinet_ModuleInfo", "/device/factoryop/cabinets/{id}/struct/module"},
        {"Cabinet_CapabilityParam", "/device/factoryop/cabinets/{id}/capability"},
        {"Cabinet_DecodeParam", "/device/factoryop/cabinets/{id}/decodechipparameter"},
        {"Cabinet_ChipRegister", "/device/factoryop/cabinets/{id}/chipregister"},
        {"Cabinet_RemoveBrokenLight", "/device/factoryop/cabinets/{id}/removebrokenlight"},
        {"Cabinet_RvExtendParams", "/device/factoryop/cabinets/{id}/struct/extends"},
        {"Cabinet_SecClockExtend", "/device/factoryop/cabinets/{id}/struct/extends/secclockextend"},
        {"Cabinet_SignalPolarity", "/device/factoryop/cabinets/{id}/struct/extends/signalpolarity"},
        {"Cabinet_RvCardLight", "/device/factoryop/cabinets/{id}/struct/extends/rvcardlight"},
        {"Cabinet_SlowlyBrightness", "/device/factoryop/cabinets/{id}/struct/extends/slowlybrightness"},
        {"Cabinet_SignalDelay", "/device/factoryop/cabinets/{id}/struct/extends/signaldelay"},
        {"Cabinet_SmartSetBackStep", "/device/factoryop/cabinets/{id}/struct/smartset/backstep"},
        {"Cabinet_SmartSetBaseInfo", "/device/factoryop/cabinets/{id}/struct/smartset/baseinfo"},
        {"Cabinet_SmartSetOEType", "/device/factoryop/cabinets/{id}/struct/smartset/oetype"},
        {"Cabinet_SmartSetRGBOrder", "/device/factoryop/cabinets/{id}/struct/smartset/orderofrgb"},
        {"Cabinet_SmartSetDataGroup", "/device/factoryop/cabinets/{id}/struct/smartset/groupofdata"},
        {"Cabinet_SmartSetScanInfo", "/device/factoryop/cabinets/{id}/struct/smartset/scanninfo"},
        {"Cabinet_SmartSetRunningData", "/device/factoryop/cabinets/{id}/struct/smartset/pointflow"},
        {"Cabinet_SmartSetRealTimeRGBOrder", "/device/factoryop/cabinets/{id}/struct/smartset/rgbindex"},
        {"Cabinet_SmartSetCommand", "/device/factoryop/cabinets/{id}/struct/smartset"},
        {"Cabinet_MaxLoadedPixel", "/device/factoryop/cabinets/{id}/maxloadedpixels"},
        {"Cabinet_SmartSetDrivelight", "/device/factoryop/cabinets/{id}/struct/smartset/drivelightingindex"},
        {"Cabinet_SmartSetPointIndex", "/device/factoryop/cabinets/{id}/struct/smartset/pointindex"},
        {"Cabinet_SmartSetScanIndex", "/device/factoryop/cabinets/{id}/struct/smartset/scanindex"},
        {"Cab_M_CreateCabinet", "/device/factoryop/cabinets/struct"},
        {"Cab_M_SmartGroup", "/device/factoryop/cabinets/struct/temppattern"},
        {"Cab_M_FlashTopoInfo", "/device/factoryop/cabinets/struct/flash"},
        {"Cab_M_ModuleInfo", "/device/factoryop/cabinets/struct/module"},
        {"Cab_M_CapabilityParam", "/device/factoryop/cabinets/capability"},
        {"Cab_M_DecodeParam", "/device/factoryop/cabinets/decodechipparameter"},
        {"Cab_M_ChipRegister", "/device/factoryop/cabinets/chipregister"},
        {"Cab_M_RemoveBrokenLight", "/device/factoryop/cabinets/removebrokenlight"},
        {"Cab_M_RvExtendParams", "/device/factoryop/cabinets/struct/extends"},
        {"Cab_M_SecClockExtend", "/device/factoryop/cabinets/struct/extends/secclockextend"},
        {"Cab_M_SignalPolarity", "/device/factoryop/cabinets/struct/extends/signalpolarity"},
        {"Cab_M_RvCardLight", "/device/factoryop/cabinets/struct/extends/rvcardlight"},
        {"Cab_M_SlowlyBrightness", "/device/factoryop/cabinets/struct/extends/slowlybrightness"},
        {"Cab_M_SignalDelay", "/device/factoryop/cabinets/struct/extends/signaldelay"},
        {"Cab_M_SmartSetBackStep", "/device/factoryop/cabinets/struct/smartset/backstep"},
        {"Cab_M_SmartSetBaseInfo", "/device/factoryop/cabinets/struct/smartset/baseinfo"},
        {"Cab_M_SmartSetOEType", "/device/factoryop/cabinets/struct/smartset/oetype"},
        {"Cab_M_SmartSetRGBOrder", "/device/factoryop/cabinets/struct/smartset/orderofrgb"},
        {"Cab_M_SmartSetDataGroup", "/device/factoryop/cabinets/struct/smartset/groupofdata"},
        {"Cab_M_SmartSetScanInfo", "/device/factoryop/cabinets/struct/smartset/scanninfo"},
        {"Cab_M_SmartSetRunningData", "/device/factoryop/cabinets/struct/smartset/pointflow"},
        {"Cab_M_SmartSetRealTimeRGBOrder", "/device/factoryop/cabinets/struct/smartset/rgbindex"},
        {"Cab_M_SmartSetCommand", "/device/factoryop/cabinets/struct/smartset"},
        {"Cab_M_SmartSetDrivelight", "/device/factoryop/cabinets/struct/smartset/drivelightingindex"},
        {"Cab_M_SmartSetPointIndex", "/device/factoryop/cabinets/struct/smartset/pointindex"},
        {"Cab_M_SmartSetScanIndex", "/device/factoryop/cabinets/struct/smartset/scanindex"},
    });
}

void AllUrlResource::initCapability()
{
    insertAll(urlPrefix, {
        {"Capability_AllChipType", "/device/capability/chips"},
        {"Capability_RowDecodeType", "/device/capability/decodechips"},
    });
}

void AllUrlResource::initHwScreen()
{
    insertAll(urlPrefix, {
        {"HwScreen_DrawLine", "/device/hwscreen/edgebrightadjust/drawline"},
        {"HwScreen_DrawSectionLine", "/device/hwscreen/edgebrightadjust/drawsectionalline"},
        {"HwScreen_DrawRect", "/device/hwscreen/edgebrightadjust/drawrect"},
        {"HwScreen_DrawMouse", "/device/hwscreen/edgebrightadjust/drawmouse"},
        {"HwScreen_EdgetChangeBK", "/device/hwscreen/edgebrightadjust/backgroundchanged"},
        {"HwScreen_CorrectChangeBK", "/device/hwscreen/correction/backgroundchanged"},
        {"HwScreen_EdgetSwitch", "/device/hwscreen/edgebrightadjust"},
        {"HwScreen_CorrectSwitch", "/device/hwscreen/correction"},
        {"HwScreen_EdgeClear", "/device/hwscreen/edgebrightadjust/clear"},
        {"HwScreen_CorrectClear", "/device/hwscreen/clear"},
        {"HwScreen_DrawCorrectRegion", "/device/hwscreen/correction/drawregion"},
        {"HwScreen_DrawCheckerBoardRegion", "/device/hwscreen/correction/drawcheckerboard"},
        {"HwScreen_DrawCorrectID", "/device/hwscreen/correction/drawid"},
        {"HwScreen_ShowVedioSource", "/device/hwscreen/correction/displayvideosource"},
        {"HwScreen_EdgeUpdateScreen", "/device/hwscreen/edgebrightadjust/updatescreen"},
        {"HwScreen_MultCorrectClear", "/screen/hwscreen/clear"},
        {"HwScreen_MultCorrectChangeBK", "/hwscreen/correction/backgroundchanged"},
        {"HwScreen_MultEdgetSwitch", "/hwscreen/edgebrightadjust"},
        {"HwScreen_MultCorrectSwitch", "/screen/hwscreen/correction"},
        {"HwScreen_MultDrawCorrectRegion", "/screen/hwscreen/correction/drawregion"},
        {"HwScreen_MultDrawCheckerBoardRegion", "/screen/hwscreen/correction/drawcheckerboard"},
        {"HwScreen_MultDrawCorrectID", "/hwscreen/correction/drawid"},
        {"HwScreen_MultShowVedioSource", "/hwscreen/correction/displayvideosource"},
        {"HwScreen_AdaptiveCoefficient", "/device/correctionop/cabinets/adaptive/coefficient"},
        {"HwScreen_DraRectangularRegion", "/device/hwscreen/correction/drawpalindrome"},
    });
}

void AllUrlResource::initMonitor()
{
    insertAll(urlPrefix, {
        {"MonitorData", "/device/monitor/data"},
        {"MonitorHistory", "/device/monitor/cabinet/history/{id}"},
        {"MonitorLog", "/device/monitor/logs"},
        {"MonitorState", "/device/monitor/state"},
    });
}

void AllUrlResource::initSelfTestop()
{
    insertAll(urlPrefix, {
        {"SelfTest_CabReadPara", "/device/cabinet/selftest/read"},
        {"SelfTest_CabSendPara", "/device/cabinet/selftest/send"},
        {"SelfTest_CabClearKeyPara", "/device/cabinet/selftest/clear"},
    });
}

void AllUrlResource::initAlgorithm()
{
    insertAll(urlPrefix, {
        {"Algorithm_RGBLight", "/algorithm/rgblocation"},
        {"Algorithm_WhiteLightCoord", "/algorithm/whitelocation"},
        {"Algorithm_colorTemperature", "/algorithm/temperature"},
    });
}
