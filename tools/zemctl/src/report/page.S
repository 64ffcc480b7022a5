/* SPDX-License-Identifier: GPL-2.0 */
/* The page of a report, which CMake puts together from the files in page/ and the charting library. */
	.section .rodata
	.global zemctl_report_page
	.global zemctl_report_page_end
zemctl_report_page:
	.incbin ZEMCTL_REPORT_PAGE
zemctl_report_page_end:
	.section .note.GNU-stack, "", %progbits
