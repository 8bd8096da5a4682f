/* Compiled as C99 against the flat API header and linked against the shared
 * library: every function accepts a null handle, and functions with a result
 * return 0 (null). */
#include <DataProcess/DataProcessC.h>

#include <stdio.h>

static int failures = 0;

#define CHECK(cond)                                                                                \
    do {                                                                                           \
        if (!(cond)) {                                                                             \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond);                             \
            ++failures;                                                                            \
        }                                                                                          \
    } while (0)

int main(void)
{
    RESIZE_PARAM resize = {640, 480, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    tagRECT rc = {0, 0, 10, 10};
    tagFRECT frc = {0.1f, 0.1f, 0.2f, 0.2f};
    wchar_t path[] = L"/tmp/never-written.bmp";

    CHECK(PCVideoCreate(NULL, &resize, 25.0) == NULL);
    CHECK(PCAudioCreate(NULL, 48000, 2, 16, 1) == NULL);
    PCVideoDestroy(NULL);
    PCAudioDestroy(NULL);
    PCSetCropRect(NULL, &rc);
    PCSetCropRectEx(NULL, &rc, IMAGE_RESIZE_CROP_FILL);
    PCSetRotation(NULL, 90, 0);
    PCSetVideoBrightness(NULL, 10);
    PCSetContrast(NULL, 10);
    PCSetVideoSaturation(NULL, 10);
    PCSetExFilterFlag(NULL, 1);
    PCSetFlipFlag(NULL, 3);
    PCSetVideoDeintelace(NULL, DEINTERLACE_BLEND_ODD);
    PCSetWatermarkSrcID(NULL, NULL, L"id", &rc, 0);
    PCSetWatermarkSrcIDAlign(NULL, NULL, L"id", 9, 0);
    PCDisableWatermark(NULL, 1);
    PCSetWatermarkImage(NULL, NULL, NULL, &rc, 50);
    PCSetWatermarkImageAlign(NULL, NULL, NULL, 3, 50);
    PCSetUserWatermarkImage(NULL, NULL, NULL, &frc, 50);
    PCSetUserSubPicture(NULL, NULL, 0);
    PCSetSubPicEx(NULL, NULL, 0);
    PCSetVolum(NULL, 50);
    PCSetFadeInOutTime(NULL, 0.0, 1.0, 9.0, 1.0);
    CHECK(PCCaptureImage(NULL, path, 0, 0) == 0);
    PCVideoSeek(NULL, 1.0, 0);
    PCAudioSeek(NULL, 1.0);
    CHECK(PCGetVideoInfo(NULL) == NULL);
    CHECK(PCGetAudioInfo(NULL) == NULL);
    CHECK(PCGetVideoFrame(NULL) == NULL);
    CHECK(PCVideoForward(NULL, 1) == 0);
    CHECK(PCGetNextAudioFrame(NULL) == NULL);

    if (failures == 0)
        printf("flat API: every function accepted a null handle\n");
    return failures == 0 ? 0 : 1;
}
